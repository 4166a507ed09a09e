#include "scene/tone_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orv::scene {
namespace {

/// The same in double precision, unrounded.
double reference(double linear) {
  const double y = std::min(linear * (2.51 * linear + 0.03) / (linear * (2.43 * linear + 0.59) + 0.14), 1.0);
  return 255 * (y <= 0.0031308 ? 12.92 * y : 1.055 * std::pow(y, 1 / 2.4) - 0.055);
}

TEST(ToneMapped, IsWithinHalfAStepOfTheCurve) {
  for (double x = 0; x < 20; x += 0.0037)
    EXPECT_NEAR(toneMapped(static_cast<float>(x), 1.0f), reference(x), 0.501) << x;
}

TEST(ToneMapped, KnownValues) {
  EXPECT_EQ(toneMapped(0.0f, 1.0f), 0);
  // 0.18: y = 0.0867 / 0.3249 = 0.2669, encoded 0.5541
  EXPECT_EQ(toneMapped(0.18f, 1.0f), 141);
  // 1: y = 2.54 / 3.16 = 0.8038, encoded 0.9082
  EXPECT_EQ(toneMapped(1.0f, 1.0f), 232);
}

TEST(ToneMapped, HoldsAtTheEnds) {
  EXPECT_EQ(toneMapped(1e6f, 1.0f), 255);
  EXPECT_EQ(toneMapped(std::numeric_limits<float>::max(), 1e10f), 255);
  EXPECT_EQ(toneMapped(std::numeric_limits<float>::infinity(), 1.0f), 255);
  EXPECT_EQ(toneMapped(-1.0f, 1.0f), 0);
  EXPECT_EQ(toneMapped(std::numeric_limits<float>::quiet_NaN(), 1.0f), 0);
}

TEST(ToneMap, AStopDoublesTheLight) {
  hdri::EnvImage map(2, 1);
  map.pixels[0] = {0.1f, 0.2f, 0.4f};
  map.pixels[1] = {0.05f, 0.1f, 0.2f};
  const auto plain = toneMap(map, 0);
  const auto brighter = toneMap(map, 1);
  for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(brighter[3 + c], plain[c]);
}

}  // namespace
}  // namespace orv::scene
