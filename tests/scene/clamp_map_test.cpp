#include "scene/clamp_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orv::scene {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinite = std::numeric_limits<float>::infinity();

/// Two rows of equal solid angle.
hdri::EnvImage twoByTwo(const hdri::Rgb& a, const hdri::Rgb& b, const hdri::Rgb& c, const hdri::Rgb& d) {
  hdri::EnvImage map(2, 2);
  map.pixels[0] = a, map.pixels[1] = b, map.pixels[2] = c, map.pixels[3] = d;
  return map;
}

TEST(ClampLoss, CountsPixelsNotChannels) {
  const ClampLoss loss = clampLoss(twoByTwo({11, 12, 13}, {10, 10, 10}, {0, 14, 0}, {1, 2, 3}), 10);
  EXPECT_EQ(loss.pixels, 2);
  EXPECT_EQ(loss.largest, 14.0f);
  // Lost 1 + 2 + 3 + 4 of 36 + 30 + 14 + 6.
  EXPECT_NEAR(loss.lightShare, 10.0 / 86.0, 1e-12);
}

TEST(ClampLoss, WeighsRowsBySolidAngle) {
  // Four rows: the outer ones cover 1 - cos 45 degrees of a half sphere, the inner ones cos 45 degrees.
  hdri::EnvImage map(1, 4);
  map.pixels[0] = {30, 0, 0};
  map.pixels[1] = map.pixels[2] = map.pixels[3] = {5, 0, 0};
  const double outer = 1 - std::sqrt(0.5), inner = std::sqrt(0.5);
  EXPECT_NEAR(clampLoss(map, 10).lightShare, 20 * outer / (35 * outer + 10 * inner), 1e-12);
}

TEST(ClampLoss, IsNothingWithinTheLimit) {
  const hdri::Rgb full = {kLargestHalf, -kLargestHalf, kNaN};
  const ClampLoss loss = clampLoss(twoByTwo(full, full, full, full), kLargestHalf);
  EXPECT_EQ(loss.pixels, 0);
  EXPECT_EQ(loss.largest, 0.0f);
  EXPECT_EQ(loss.lightShare, 0.0);
}

TEST(ClampLoss, OfAnInfiniteLightIsAll) {
  const ClampLoss loss = clampLoss(twoByTwo({kInfinite, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}), 10);
  EXPECT_EQ(loss.pixels, 1);
  EXPECT_EQ(loss.largest, kInfinite);
  EXPECT_EQ(loss.lightShare, 1.0);
}

TEST(ClampLoss, NegativeValuesAreNoLight) {
  const ClampLoss loss = clampLoss(twoByTwo({-20, 0, 0}, {5, 0, 0}, {0, 0, 0}, {0, 0, 0}), 10);
  EXPECT_EQ(loss.pixels, 1);
  EXPECT_EQ(loss.largest, 20.0f);
  EXPECT_EQ(loss.lightShare, 0.0);
}

TEST(Clamped, LimitsBothSignsAndKeepsNaN) {
  const hdri::EnvImage map = clamped(twoByTwo({11, -11, kNaN}, {kInfinite, -kInfinite, 0}, {}, {}), 10);
  EXPECT_EQ(map.pixels[0].r, 10.0f);
  EXPECT_EQ(map.pixels[0].g, -10.0f);
  EXPECT_TRUE(std::isnan(map.pixels[0].b));
  EXPECT_EQ(map.pixels[1], (hdri::Rgb{10, -10, 0}));
}

}  // namespace
}  // namespace orv::scene
