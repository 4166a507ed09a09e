#include "brushes/host_parameters.h"

#include <gmock/gmock.h>

#include <memory>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "host/BrushOwner.h"
#include "host/orvMemory.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class HostParameters : public testing::Test {
 protected:
  void SetUp() override { host().reset(); }
  static FakeHost& host() { return FakeHost::instance(); }
  static std::vector<float> values(const orvFloat_array& array) {
    return {array.data, array.data + array.count};
  }

  std::shared_ptr<BrushOwner> owner = std::make_shared<BrushOwner>();
};

const std::vector<std::string> kBaseNames = {"mode",       "brightness", "gamma",     "hueShift",
                                             "saturation", "tintRed",    "tintGreen", "tintBlue"};

std::vector<std::string> baseNamesAnd(std::initializer_list<std::string> own) {
  std::vector<std::string> names = kBaseNames;
  names.insert(names.end(), own);
  return names;
}

TEST_F(HostParameters, NodeIsMadeByBeginThenTake) {
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  EXPECT_NE(createHostNode(brush, host().scene(), "orv.env.brush.color"), nullptr);
  EXPECT_THAT(host().calls(),
              ElementsAre("orv_get_scene_api(scene)", "begin_node(\"orv.env.brush.color\", 4294967295, 0)",
                          "take_node()"));
}

TEST_F(HostParameters, NoNodeAndNoCallWithoutALivingOwner) {
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  EXPECT_EQ(createHostNode(brush, host().scene(), "orv.env.brush.color"), nullptr);
  brush.setOwner(owner);
  owner.reset();
  EXPECT_EQ(createHostNode(brush, host().scene(), "orv.env.brush.color"), nullptr);
  EXPECT_THAT(host().calls(), IsEmpty());
}

TEST_F(HostParameters, OwnerIsReleasedAfterTheNodeIsMade) {
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  createHostNode(brush, host().scene(), "orv.env.brush.color");
  EXPECT_EQ(owner.use_count(), 1);
}

TEST_F(HostParameters, ColorBrushWritesModeAdjustmentsAndColour) {
  ColorBrush brush(0.25f, 0.5f, 4.0f);
  brush.setOwner(owner);
  brush.setMode(BlendMode::screen);
  brush.adjustments() = {2.0f, 3.0f, 0.25f, -0.5f, 0.1f, 0.2f, 0.3f};
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->typeName, "orv.env.brush.color");
  EXPECT_THAT(node->order, ElementsAreArray(baseNamesAnd({"r", "g", "b"})));
  EXPECT_EQ(node->uints["mode"], 3u);
  EXPECT_EQ(node->floats["brightness"], 2.0f);
  EXPECT_EQ(node->floats["gamma"], 3.0f);
  EXPECT_EQ(node->floats["hueShift"], 0.25f);
  EXPECT_EQ(node->floats["saturation"], -0.5f);
  EXPECT_EQ(node->floats["tintRed"], 0.1f);
  EXPECT_EQ(node->floats["tintGreen"], 0.2f);
  EXPECT_EQ(node->floats["tintBlue"], 0.3f);
  EXPECT_EQ(node->floats["r"], 0.25f);
  EXPECT_EQ(node->floats["g"], 0.5f);
  EXPECT_EQ(node->floats["b"], 4.0f);
}

TEST_F(HostParameters, TheBlurOnTheSphereIsWrittenOnlyWhereItIsOn) {
  ColorBrush brush(1.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  brush.setBlurOnSphere(true);
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  EXPECT_THAT(node->order, ElementsAreArray(baseNamesAnd({"blurOnSphere", "r", "g", "b"})));
  EXPECT_EQ(node->uints["blurOnSphere"], 1u);
}

TEST_F(HostParameters, NodeIsMadeOnceAndWrittenEveryTime) {
  ColorBrush brush(1.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  orvNode* first = brush.hostNode(host().scene());
  brush.setColor({0.5f, 0.0f, 0.0f});
  EXPECT_EQ(brush.hostNode(host().scene()), first);
  EXPECT_EQ(host().nodes.size(), 1u);
  EXPECT_EQ(host().nodes.front()->floats["r"], 0.5f);
}

TEST_F(HostParameters, BrushWithoutANodeReturnsNullAndAsksAgain) {
  ColorBrush brush(1.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  host().giveNodes = false;
  EXPECT_EQ(brush.hostNode(host().scene()), nullptr);
  host().giveNodes = true;
  EXPECT_NE(brush.hostNode(host().scene()), nullptr);
}

TEST_F(HostParameters, CloneHasNoNode) {
  ColorBrush brush(1.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  orvNode* node = brush.hostNode(host().scene());
  const std::shared_ptr<Brush> copy = brush.clone();
  copy->setOwner(owner);
  EXPECT_NE(copy->hostNode(host().scene()), node);
}

TEST_F(HostParameters, GradientBrushWritesItsArraysFlat) {
  GradientBrush brush;
  brush.setOwner(owner);
  brush.setAngle(45.0f);
  brush.setStops({{0.0f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f}, {1.0f, 1.1f, 1.2f, 1.3f, 1.4f, 1.5f, 1.6f}});
  brush.setCurve({{0.0f, 2.0f, 3.0f, 4.0f}});
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->typeName, "orv.env.brush.gradient");
  EXPECT_THAT(node->order, ElementsAreArray(baseNamesAnd({"angle", "stops", "curve"})));
  EXPECT_EQ(node->floats["angle"], 45.0f);
  EXPECT_THAT(values(node->arrays["stops"]), ElementsAre(0.0f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 1.0f, 1.1f,
                                                         1.2f, 1.3f, 1.4f, 1.5f, 1.6f));
  EXPECT_THAT(values(node->arrays["curve"]), ElementsAre(0.0f, 2.0f, 3.0f, 4.0f));
}

TEST_F(HostParameters, ImageBrushWritesItsPath) {
  ImageBrush brush("maps/sky.exr");
  brush.setOwner(owner);
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->texts["path"], "maps/sky.exr");
}

TEST_F(HostParameters, BackgroundBrushWritesItsAngles) {
  BackgroundBrush brush(30.0f, -20.0f);
  brush.setOwner(owner);
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->floats["turn"], 30.0f);
  EXPECT_EQ(node->floats["tilt"], -20.0f);
}

TEST_F(HostParameters, FloatArrayGrowsToExactlyWhatItNeeds) {
  orvFloat_array array;
  const std::vector<float> three{1.0f, 2.0f, 3.0f};
  const std::int64_t live = host().liveBlocks();
  EXPECT_TRUE(setFloatArray(array, three));
  EXPECT_EQ(array.count, 3u);
  EXPECT_EQ(host().liveBlocks(), live + 1);

  const std::vector<float> five{5.0f, 6.0f, 7.0f, 8.0f, 9.0f};
  EXPECT_TRUE(setFloatArray(array, five));
  EXPECT_THAT(values(array), ElementsAreArray(five));
  EXPECT_EQ(host().liveBlocks(), live + 1);
  orv_free(array.data);
}

TEST_F(HostParameters, FloatArrayKeepsItsMemoryWhenItShrinks) {
  orvFloat_array array;
  setFloatArray(array, std::vector<float>{1.0f, 2.0f, 3.0f});
  float* const storage = array.data;
  const std::int64_t allocations = host().totalAllocations();
  EXPECT_TRUE(setFloatArray(array, std::vector<float>{4.0f}));
  EXPECT_EQ(array.data, storage);
  EXPECT_EQ(host().totalAllocations(), allocations);
  EXPECT_THAT(values(array), ElementsAre(4.0f));
  orv_free(array.data);
}

TEST_F(HostParameters, FloatArrayStaysAsItWasWithoutMemory) {
  orvFloat_array array;
  setFloatArray(array, std::vector<float>{1.0f});
  host().failAllocation(1);
  EXPECT_FALSE(setFloatArray(array, std::vector<float>{2.0f, 3.0f}));
  EXPECT_THAT(values(array), ElementsAre(1.0f));
  orv_free(array.data);
}

class SunAndSky : public HostParameters {
 protected:
  SunSkyBrush brush;
  FakeSky sky;

  void fixSun(float azimuth, float elevation) {
    brush.settings().sunFromAngles = 1;
    brush.settings().sunAzimuth = azimuth;
    brush.settings().sunElevation = elevation;
    applySunAndSky(brush, sky);
  }
};

TEST_F(SunAndSky, TakesAllTwelveSettings) {
  SkySettings& s = brush.settings();
  s = {3.0f, 0.5f, 0.25f, 2.0f, 4.0f, 5.0f, -33.0f, 151.0f, 17.5f, 0, 0.0f, 0.0f, 200, 11.0f, -45.0f};
  applySunAndSky(brush, sky);
  EXPECT_EQ(sky.turbidity, 3.0f);
  EXPECT_EQ(sky.ozone, 0.5f);
  EXPECT_EQ(sky.groundAlbedo, 0.25f);
  EXPECT_EQ(sky.skyIntensity, 2.0f);
  EXPECT_EQ(sky.sunIntensity, 4.0f);
  EXPECT_EQ(sky.sunSize, 5.0f);
  EXPECT_EQ(sky.latitude, -33.0f);
  EXPECT_EQ(sky.longitude, 151.0f);
  EXPECT_EQ(sky.hours, 17.5f);
  EXPECT_EQ(sky.dayOfYear, 200u);
  EXPECT_EQ(sky.timeZone, 11.0f);
  EXPECT_EQ(sky.northOffset, -45.0f);
  EXPECT_EQ(sky.settingsGiven, 1);
}

TEST_F(SunAndSky, UsesTheSkysOwnSunWithoutAngles) {
  applySunAndSky(brush, sky);
  EXPECT_THAT(host().calls(), ElementsAre("use_own_sun()"));
}

TEST_F(SunAndSky, AzimuthZeroOnTheHorizonShinesAlongMinusX) {
  fixSun(0.0f, 0.0f);
  ASSERT_EQ(sky.direction.size(), 3u);
  EXPECT_DOUBLE_EQ(sky.direction[0], -1.0);
  EXPECT_DOUBLE_EQ(sky.direction[1], 0.0);
  EXPECT_DOUBLE_EQ(sky.direction[2], 0.0);
}

TEST_F(SunAndSky, AzimuthNinetyShinesAlongZ) {
  fixSun(90.0f, 0.0f);
  EXPECT_NEAR(sky.direction[0], 0.0, 1e-6);
  EXPECT_NEAR(sky.direction[1], 0.0, 1e-6);
  EXPECT_NEAR(sky.direction[2], 1.0, 1e-6);
}

TEST_F(SunAndSky, SunOverheadShinesDownward) {
  fixSun(0.0f, 90.0f);
  EXPECT_NEAR(sky.direction[0], 0.0, 1e-6);
  EXPECT_NEAR(sky.direction[1], -1.0, 1e-6);
  EXPECT_NEAR(sky.direction[2], 0.0, 1e-6);
}

TEST_F(SunAndSky, DirectionOfTwoAngles) {
  // a = 30, e = 60: (-cos 60 cos 30, -sin 60, sin 30 cos 60).
  fixSun(30.0f, 60.0f);
  EXPECT_NEAR(sky.direction[0], -0.4330127018922193, 1e-6);
  EXPECT_NEAR(sky.direction[1], -0.8660254037844386, 1e-6);
  EXPECT_NEAR(sky.direction[2], 0.25, 1e-6);
}

TEST_F(SunAndSky, AnimatedHoursWinOverAngles) {
  brush.setOwner(owner);
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  node->animated["hours"] = true;
  fixSun(30.0f, 60.0f);
  EXPECT_EQ(host().calls().back(), "use_own_sun()");
  EXPECT_TRUE(sky.direction.empty());
}

TEST_F(SunAndSky, AsksTheNodeAboutItsHoursOnlyWhenAnglesAreGiven) {
  brush.setOwner(owner);
  const auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  applySunAndSky(brush, sky);
  EXPECT_EQ(node->animationQuestions, 0);
  fixSun(30.0f, 60.0f);
  EXPECT_EQ(node->animationQuestions, 1);
}

TEST_F(SunAndSky, OtherAnimatedParametersLeaveTheAngles) {
  brush.setOwner(owner);
  auto* node = static_cast<FakeNode*>(brush.hostNode(host().scene()));
  ASSERT_NE(node, nullptr);
  node->animated["turbidity"] = true;
  fixSun(30.0f, 60.0f);
  EXPECT_EQ(host().calls().back(), "set_sun_direction");
}

}  // namespace
}  // namespace orv::hdri
