#include "scene/reduce_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "orvrender/orvHost.h"
#include "scene/PainterLibrary.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"

namespace orv::scene {
namespace {

hdri::EnvImage filled(int width, int height, float value) {
  hdri::EnvImage map(width, height);
  std::fill(map.pixels.begin(), map.pixels.end(), hdri::Rgb{value, value, value});
  return map;
}

TEST(ReduceMap, IsTheMeanBySolidAngle) {
  hdri::EnvImage map = filled(2, 4, 0);
  map.pixels[0] = map.pixels[1] = {1, 2, 4};
  const hdri::EnvImage reduced = reduceMap(map, 1, 2);
  ASSERT_EQ(reduced.width, 1);
  ASSERT_EQ(reduced.height, 2);
  // The cap above 45 degrees of the half sphere.
  const double cap = 1 - std::sqrt(0.5);
  EXPECT_NEAR(reduced.pixels[0].r, cap, 1e-6);
  EXPECT_NEAR(reduced.pixels[0].b, 4 * cap, 1e-6);
  EXPECT_EQ(reduced.pixels[1], (hdri::Rgb{0, 0, 0}));
}

TEST(ReduceMap, SharesPixelsThatLieInTwo) {
  hdri::EnvImage map = filled(3, 1, 0);
  map.pixels[1].r = 6;
  const hdri::EnvImage reduced = reduceMap(map, 2, 1);
  EXPECT_NEAR(reduced.pixels[0].r, 2, 1e-6);
  EXPECT_NEAR(reduced.pixels[1].r, 2, 1e-6);
}

TEST(ReduceMap, KeepsASmallerMap) {
  hdri::EnvImage map = filled(2, 1, 0.5f);
  map.pixels[1] = {3, 4, 5};
  const hdri::EnvImage reduced = reduceMap(map, 256, 128);
  EXPECT_EQ(reduced.pixels, map.pixels);
}

TEST(ReduceMap, CountsWhatIsNoLightAsBlack) {
  hdri::EnvImage map = filled(4, 1, 0);
  map.pixels[0].r = std::numeric_limits<float>::quiet_NaN();
  map.pixels[1].r = std::numeric_limits<float>::infinity();
  map.pixels[2].r = -5;
  map.pixels[3].r = 8;
  EXPECT_NEAR(reduceMap(map, 1, 1).pixels[0].r, 2, 1e-6);
}

TEST(AutoExposure, BringsAnEvenMapTo18Percent) {
  EXPECT_NEAR(autoExposure(filled(64, 32, 0.18f)), 0, 1e-5);
  EXPECT_NEAR(autoExposure(filled(64, 32, 0.72f)), -2, 1e-5);
  EXPECT_NEAR(autoExposure(filled(64, 32, 0.0225f)), 3, 1e-5);
}

TEST(AutoExposure, IsTheLogarithmicMeanWithoutTheBrightest) {
  // Half the sphere at 0.04 and half at 1, of which 0.005 are left out.
  hdri::EnvImage map = filled(64, 32, 0.04f);
  std::fill(map.pixels.begin(), map.pixels.begin() + 64 * 16, hdri::Rgb{1, 1, 1});
  const double mean = 0.5 * std::log2(0.04) / 0.995;
  EXPECT_NEAR(autoExposure(map), std::log2(0.18) - mean, 1e-5);
}

TEST(AutoExposure, LeavesOutTheSun) {
  hdri::EnvImage map = filled(256, 128, 0.18f);
  map.pixels[30 * 256 + 77] = {1e6f, 1e6f, 1e6f};
  EXPECT_NEAR(autoExposure(map), 0, 1e-5);
}

TEST(AutoExposure, IsNotDecidedByBlackness) {
  // Half black: counted as a hundredth of the mean of what is not left out, (0.5 - 0.005) / 0.995.
  hdri::EnvImage map = filled(64, 32, 0);
  std::fill(map.pixels.begin(), map.pixels.begin() + 64 * 16, hdri::Rgb{1, 1, 1});
  const double floor = 0.01 * 0.495 / 0.995;
  EXPECT_NEAR(autoExposure(map), std::log2(0.18) - 0.5 * std::log2(floor) / 0.995, 1e-5);
}

TEST(AutoExposure, OfABlackMapIsNone) { EXPECT_EQ(autoExposure(filled(8, 4, 0)), 0.0f); }

/// The automatic exposure of an example painted at a size.
float exposureOf(const std::string& example, const MapSize& size) {
  const std::string folder = ORVHDRI_SOURCE_DIR "/examples";
  const auto destroy = [](orvScene* used) { orv_scene_destroy(used); };
  const std::unique_ptr<orvScene, decltype(destroy)> host(orv_scene_create({}), destroy);
  const PainterLibrary library(ORVHDRI_BINARY_DIR "/lib/liborvhdri_avx2.so");
  const PainterPointer painter = library.create();
  const Scene scene = readScene(folder + "/" + example);
  return autoExposure(
      *paintScene(scene, *painter, host.get(), {.fileName = example, .folder = folder, .size = size}).map);
}

TEST(AutoExposure, IsOneForAllSizesOfAScene) {
  for (const char* example : {"studio.json", "noon.json", "sunset.json", "venice.json"})
    EXPECT_NEAR(exposureOf(example, {2048, 1024}), exposureOf(example, {256, 128}), 0.05) << example;
}

}  // namespace
}  // namespace orv::scene
