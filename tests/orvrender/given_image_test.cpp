// Images that a program gives a scene from memory.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class GivenImageTest : public HostTest {
 protected:
  bool give(const std::string& name, float value, std::uint32_t width = 4, std::uint32_t height = 2) {
    const std::vector<float> rgb(std::size_t{3} * width * height, value);
    return orv_image_add(scene(), name.c_str(), rgb.data(), width, height);
  }
  void free(orvImage* image, bool discard = false) { orv_image_free(scene(), image, discard); }
};

TEST_F(GivenImageTest, IsFoundByItsNameWithThePixelsThatItWasGiven) {
  std::vector<float> rgb = counted(18);
  ASSERT_TRUE(orv_image_add(scene(), "memory:a", rgb.data(), 3, 2));
  rgb.assign(18, 0.0f);
  const orvImage* const image = load("memory:a");
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width(), 3u);
  EXPECT_EQ(image->height(), 2u);
  EXPECT_FALSE(image->has_alpha());
  EXPECT_STREQ(image->path(), "memory:a");
  EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(1, 2, 3));
  EXPECT_THAT(pixel(*image, 2, 1), ElementsAre(16, 17, 18));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GivenImageTest, ShadowsNoFile) {
  writeImage("openexr", folder / "memory:a", floatSpec(2, 2, 3), std::vector<float>(12, 7.0f));
  ASSERT_TRUE(give("memory:a", 1));
  EXPECT_THAT(pixel(*load(folder / "memory:a"), 0, 0), ElementsAre(7, 7, 7));
}

TEST_F(GivenImageTest, IsScaledLikeAFile) {
  // Two columns of 1 and 3 become one of their mean, for columns have the same solid angle.
  const std::vector<float> rgb = {1, 1, 1, 3, 3, 3};
  ASSERT_TRUE(orv_image_add(scene(), "memory:a", rgb.data(), 2, 1));
  orv_image_set_environment_size(scene(), 1, 1);
  EXPECT_THAT(pixel(*load("memory:a"), 0, 0), ElementsAre(2, 2, 2));
}

TEST_F(GivenImageTest, IsFilteredLikeAFile) {
  ASSERT_TRUE(give("memory:a", 3, 16, 8));
  orvImage* const image = load("memory:a");
  image->set_filter_mode(orvFilter_mode::anisotropic);
  orvImage_lookup lookup;
  lookup.u = 0.5f;
  lookup.v = 0.5f;
  lookup.dsdx = lookup.dtdy = 0.5f;
  image->lookup_filtered(lookup);
  EXPECT_THAT(lookup.rgba, ElementsAre(3, 3, 3, 1));
}

TEST_F(GivenImageTest, StaysWhateverHappensToOthers) {
  options.imageCacheBytes = 0;
  ASSERT_TRUE(give("memory:a", 5));
  free(load("memory:a"), true);
  free(load("memory:a", orvTexture_profile::data, false));
  orv_image_free_mode(scene(), true, true);
  orv_image_free_mode(scene(), false, true);
  const orvImage* const image = load("memory:a");
  ASSERT_TRUE(image);
  EXPECT_THAT(pixel(*image, 3, 1), ElementsAre(5, 5, 5));
}

TEST_F(GivenImageTest, DoesNotCountToTheBudget) {
  options.imageCacheBytes = 12 * sizeof(float);
  ASSERT_TRUE(give("memory:a", 5, 64, 32));
  const std::string path = folder / "a.exr";
  writeImage("openexr", path, floatSpec(2, 2, 3), std::vector<float>(12, 7.0f));
  free(load(path));
  const std::uint64_t blocks = orv_memory_counters().totalBlocks;
  free(load(path));
  EXPECT_EQ(orv_memory_counters().totalBlocks, blocks) << "it was read again";
}

TEST_F(GivenImageTest, WhoHasItKeepsItWhenItIsReplaced) {
  ASSERT_TRUE(give("memory:a", 1));
  orvImage* const early = load("memory:a");  // asks for pixels only afterwards
  ASSERT_TRUE(give("memory:a", 2, 8, 4));
  const orvImage* const late = load("memory:a");
  EXPECT_EQ(late->width(), 8u);
  EXPECT_THAT(pixel(*late, 0, 0), ElementsAre(2, 2, 2));
  EXPECT_THAT(pixel(*early, 0, 0), ElementsAre(1, 1, 1));
}

TEST_F(GivenImageTest, ItsMemoryGoesWithItsLastUser) {
  const std::uint64_t before = orv_memory_counters().liveBlocks;
  ASSERT_TRUE(give("memory:a", 1));
  orvImage* const image = load("memory:a");
  EXPECT_TRUE(orv_image_remove(scene(), "memory:a"));
  EXPECT_EQ(load("memory:a"), nullptr);
  EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(1, 1, 1));
  EXPECT_EQ(orv_memory_counters().liveBlocks, before + 1);
  free(image);
  EXPECT_EQ(orv_memory_counters().liveBlocks, before);
  EXPECT_FALSE(orv_image_remove(scene(), "memory:a"));
  EXPECT_FALSE(orv_image_remove(scene(), nullptr));
}

TEST_F(GivenImageTest, WhatIsNotFiniteCountsAsInFiles) {
  const float infinity = std::numeric_limits<float>::infinity();
  const std::vector<float> rgb = {std::nanf(""), 1, 2, infinity, -infinity, 3};
  ASSERT_TRUE(orv_image_add(scene(), "memory:a", rgb.data(), 2, 1));
  const orvImage* const image = load("memory:a");
  EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(0, 1, 2));
  EXPECT_THAT(pixel(*image, 1, 0), ElementsAre(65504, -65504, 3));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("memory:a: 2 of its pixels are not finite")));
}

TEST_F(GivenImageTest, IsRefusedWithoutANamePixelsOrASizeThatImagesHave) {
  options.maxImageSide = 100;
  const float rgb[3] = {1, 1, 1};
  for (const char* name : {"", "a.exr", "memory:", "Memory:a"}) EXPECT_FALSE(give(name, 1)) << name;
  EXPECT_FALSE(orv_image_add(scene(), nullptr, rgb, 1, 1));
  EXPECT_FALSE(orv_image_add(nullptr, "memory:a", rgb, 1, 1));
  EXPECT_FALSE(orv_image_add(scene(), "memory:a", nullptr, 1, 1));
  EXPECT_FALSE(orv_image_add(scene(), "memory:a", rgb, 0, 1));
  EXPECT_FALSE(give("memory:a", 1, 101, 1));
  EXPECT_EQ(log.lines().size(), 8u);
  EXPECT_THAT(log.lines().back(), HasSubstr("memory:a: its image is 101 x 1, above the limits"));
}

TEST_F(GivenImageTest, IsRefusedWithoutMemory) {
  scene();
  const std::uint64_t before = orv_memory_counters().liveBlocks;
  orv_memory_fail_at(1);
  EXPECT_FALSE(give("memory:a", 1));
  orv_memory_fail_at(0);
  EXPECT_EQ(orv_memory_counters().liveBlocks, before);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("memory:a: there is no memory for its 4 x 2 pixels")));
}

TEST_F(GivenImageTest, ANameThatWasNotGivenIsCalledSo) {
  EXPECT_EQ(load("memory:other"), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("memory:other: there is no image of that name in memory")));
}

}  // namespace
