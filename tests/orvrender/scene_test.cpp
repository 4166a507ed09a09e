#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "brushes/host_parameters.h"
#include "hdri/ColorBrush.h"
#include "host/BrushOwner.h"
#include "host/orvMemory.h"
#include "host/orvNode.h"
#include "host/orvScene.h"
#include "host/orvSky.h"
#include "orvrender/Node.h"
#include "orvrender/host_fixture.h"
#include "orvrender/orvHost.h"

namespace {

using orv::host::Node;

class SceneTest : public testing::Test {
 protected:
  ~SceneTest() override { orv_scene_destroy(scene); }

  orvNode* makeNode(const char* type, std::uint32_t id = 0xFFFFFFFFu) {
    orvScene_api* const api = orv_get_scene_api(scene);
    api->begin_node(type, id, 0);
    return api->take_node();
  }

  orvScene* scene = orv_scene_create({});
  LogLines log;
};

TEST_F(SceneTest, HasASkyUnlessToldOtherwise) {
  EXPECT_NE(orv_get_sky(scene), nullptr);
  orvScene_options options;
  options.sky = false;
  orvScene* const bare = orv_scene_create(options);
  EXPECT_EQ(orv_get_sky(bare), nullptr);
  orv_scene_destroy(bare);
}

TEST_F(SceneTest, KeepsOneSky) { EXPECT_EQ(orv_get_sky(scene), orv_get_sky(scene)); }

TEST_F(SceneTest, WithoutASceneThereIsNothing) {
  EXPECT_EQ(orv_get_sky(nullptr), nullptr);
  EXPECT_EQ(orv_get_scene_api(nullptr), nullptr);
  orv_scene_destroy(nullptr);
}

TEST_F(SceneTest, MakesANodeInTwoCalls) {
  orvNode* const node = makeNode("orv.env.brush.color");
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(static_cast<Node*>(node)->typeName(), "orv.env.brush.color");
}

TEST_F(SceneTest, ANodeIsTakenOnce) {
  makeNode("orv.env.brush.color");
  EXPECT_EQ(orv_get_scene_api(scene)->take_node(), nullptr);
}

TEST_F(SceneTest, NoNodeIsThereBeforeOneIsBegun) {
  EXPECT_EQ(orv_get_scene_api(scene)->take_node(), nullptr);
}

TEST_F(SceneTest, ANodeWithoutATypeIsRefused) {
  EXPECT_EQ(makeNode(""), nullptr);
  EXPECT_EQ(makeNode(nullptr), nullptr);
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(SceneTest, ChoosesIdsThatNoNodeHas) {
  auto* const zero = static_cast<Node*>(makeNode("a", 0));
  auto* const one = static_cast<Node*>(makeNode("a"));
  auto* const two = static_cast<Node*>(makeNode("a"));
  EXPECT_EQ(zero->id(), 0u);
  EXPECT_EQ(one->id(), 1u);
  EXPECT_EQ(two->id(), 2u);
}

TEST_F(SceneTest, AnIdThatIsTakenIsRefused) {
  makeNode("a", 7);
  EXPECT_EQ(makeNode("b", 7), nullptr);
  EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("node 7")));
}

TEST_F(SceneTest, NodesKeepValuesByName) {
  orvNode* const node = makeNode("a");
  node->set_parameter("mode", std::uint32_t{3});
  node->set_parameter("gamma", 2.2f);
  node->set_parameter("file", "sky.exr");
  const auto& kept = *static_cast<Node*>(node);
  EXPECT_EQ(std::get<std::uint32_t>(kept.value("mode")), 3u);
  EXPECT_EQ(std::get<float>(kept.value("gamma")), 2.2f);
  EXPECT_EQ(std::get<std::string>(kept.value("file")), "sky.exr");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(kept.value("none")));
}

TEST_F(SceneTest, TheLastValueHolds) {
  orvNode* const node = makeNode("a");
  node->set_parameter("x", 1.0f);
  node->set_parameter("x", "text");
  EXPECT_EQ(std::get<std::string>(static_cast<Node*>(node)->value("x")), "text");
}

TEST_F(SceneTest, AParameterIsAnimatedOnceMarked) {
  orvNode* const node = makeNode("a");
  node->set_parameter("hours", 12.0f);
  EXPECT_FALSE(node->is_parameter_animated("hours"));
  EXPECT_FALSE(node->is_parameter_animated("unknown"));
  orv_node_set_animated(node, "hours", true);
  EXPECT_TRUE(node->is_parameter_animated("hours"));
  orv_node_set_animated(node, "hours", false);
  EXPECT_FALSE(node->is_parameter_animated("hours"));
}

TEST_F(SceneTest, ANewFloatArrayIsEmptyAndStaysInItsPlace) {
  orvNode* const node = makeNode("a");
  orvFloat_array& array = node->float_array("positions");
  EXPECT_EQ(array.data, nullptr);
  EXPECT_EQ(array.count, 0u);
  for (int i = 0; i < 100; ++i) node->float_array(std::to_string(i).c_str());
  EXPECT_EQ(&node->float_array("positions"), &array);
}

TEST_F(SceneTest, FloatArraysGrowByBrushRules) {
  orvNode* const node = makeNode("a");
  orvFloat_array& array = node->float_array("positions");
  const float three[] = {1, 2, 3};
  const float two[] = {4, 5};
  ASSERT_TRUE(orv::hdri::setFloatArray(array, three));
  const float* const block = array.data;
  ASSERT_TRUE(orv::hdri::setFloatArray(array, two));
  EXPECT_EQ(array.data, block);
  EXPECT_EQ(array.count, 2u);
  EXPECT_EQ(array.data[1], 5.0f);
}

TEST_F(SceneTest, FloatArraysGoWithTheScene) {
  const orvMemory_counters before = orv_memory_counters();
  orvScene* const other = orv_scene_create({});
  orvScene_api* const api = orv_get_scene_api(other);
  api->begin_node("a", 0xFFFFFFFFu, 0);
  orvFloat_array& array = api->take_node()->float_array("positions");
  array.data = static_cast<float*>(orv_malloc(16 * sizeof(float)));
  array.count = 16;
  EXPECT_EQ(orv_memory_counters().liveBlocks, before.liveBlocks + 1);
  orv_scene_destroy(other);
  EXPECT_EQ(orv_memory_counters().liveBlocks, before.liveBlocks);
}

TEST_F(SceneTest, ABrushMakesItsNodeHere) {
  const auto owner = std::make_shared<orv::hdri::BrushOwner>();
  const auto brush = std::make_shared<orv::hdri::ColorBrush>(orv::hdri::Rgb{1, 0, 0});
  brush->setOwner(owner);
  orvNode* const node = orv::hdri::createHostNode(*brush, scene, "orv.env.brush.color");
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(static_cast<Node*>(node)->typeName(), "orv.env.brush.color");
}

}  // namespace
