#include "backgrounds/tilt.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numbers>
#include <utility>
#include <vector>

#include "backgrounds/maps.h"
#include "shapes/sphere_geometry.h"
#include "shapes/trigonometry.h"
#include "support/fake_host/FakeHost.h"
#include "support/reference/sphere.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

/// Columns of a rotation about the vertical axis, in 32-bit floats from left to right.
int columnsOf(int width, float azimuth) {
  return static_cast<int>(std::floor(static_cast<float>(width) * azimuth / 6.2831855f));
}

/// The direction of a pixel's centre.
reference::Vec3 directionOf(int x, int y, int width, int height) {
  return reference::direction(((x + 0.5) / width - 0.5) * kTurn, (0.5 - (y + 0.5) / height) * kTurn / 2);
}

/// Smooth over the whole sphere, the seam and the poles too.
BlockedMap smooth(std::uint32_t width, std::uint32_t height) {
  return mapOf(width, height, [&](int x, int y) {
    const reference::Vec3 d = directionOf(x, y, static_cast<int>(width), static_cast<int>(height));
    return reference::Color{2 + d[0], 2 + d[1], 2 + d[2]};
  });
}

/// A lobe about one direction.
BlockedMap lobe(std::uint32_t width, std::uint32_t height, double azimuth, double elevation) {
  const reference::Vec3 centre = reference::direction(azimuth, elevation);
  return mapOf(width, height, [&](int x, int y) {
    const double c =
        reference::dot(centre, directionOf(x, y, static_cast<int>(width), static_cast<int>(height)));
    const double value = std::exp(20 * (c - 1));
    return reference::Color{value, value, value};
  });
}

TEST(TiltSettings, AnglesOutOfRangeCountAsZero) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float azimuth : {7.0f, -1.0f, nan, std::numeric_limits<float>::infinity()})
    EXPECT_EQ(TiltSettings(azimuth, 1).azimuth(), 0.0f);
  for (const float tilt : {4.0f, -4.0f, nan}) EXPECT_EQ(TiltSettings(1, tilt).tilt(), 0.0f);
  EXPECT_EQ(TiltSettings(6.2831855f, -3.1415927f).azimuth(), 6.2831855f);
  EXPECT_EQ(TiltSettings(6.2831855f, -3.1415927f).tilt(), -3.1415927f);
}

TEST(TiltSettings, ColumnsAreFlooredIn32Bits) {
  EXPECT_EQ(TiltSettings(1.5707964f, 0).columns(8), 2u);
  EXPECT_EQ(TiltSettings(1.5707963f, 0).columns(8), 1u);
  EXPECT_EQ(TiltSettings(3.0f, 0).columns(100), 47u);  // 47.746
  EXPECT_EQ(TiltSettings(6.2831855f, 0).columns(509), 509u);
}

TEST(TiltSettings, IsNeededFromOneWholeColumnOn) {
  EXPECT_FALSE(TiltSettings(0, 0).needed(1000));
  EXPECT_FALSE(TiltSettings(0.06f, 0).needed(100));  // 0.955 columns
  EXPECT_TRUE(TiltSettings(0.07f, 0).needed(100));   // 1.114 columns
  EXPECT_FALSE(TiltSettings(0.06f, 9e-6f).needed(100));
  EXPECT_FALSE(TiltSettings(9e-6f, 0).needed(1u << 31));
}

TEST(TiltSettings, IsNeededForAnyTilt) {
  EXPECT_TRUE(TiltSettings(0, 1.1e-5f).needed(8));
  EXPECT_TRUE(TiltSettings(0, -1.1e-5f).needed(8));
}

TEST(Tilt, AzimuthAloneMovesWholeColumnsBitForBit) {
  for (const int width : {1, 2, 7, 8, 9, 12, 16, 64, 509})
    for (const float azimuth : {0.02f, 0.5f, 1.5707964f, 3.0f, 4.7f, 6.2f, 6.2831855f}) {
      BlockedMap map = mapOf(static_cast<std::uint32_t>(width), 5, noise);
      const reference::Map before = referenceOf(map);
      tilt(map, {}, TiltSettings(azimuth, 0));
      const reference::Map expected = reference::shifted(before, columnsOf(width, azimuth));
      EXPECT_EQ(referenceOf(map).pixels, expected.pixels) << width << ", " << azimuth;
      EXPECT_TRUE(paddingRepeatsTheRow(map)) << width << ", " << azimuth;
    }
}

/// Expects the rotated map to agree with the reference within 2e-4 of each value, values below 1e-3 counting
/// as that, but where it looks up the seam or the row next to a pole.
void expectReference(BlockedMap map, float azimuth, float tiltAngle) {
  const reference::Map before = referenceOf(map);
  const int width = before.width, height = before.height;
  tilt(map, {}, TiltSettings(azimuth, tiltAngle));
  int skipped = 0;
  double worst = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const reference::Position at = reference::rotatedPosition(
          width, height, x, y, static_cast<double>(azimuth), static_cast<double>(tiltAngle));
      const bool seam = at.u < 1e-5 || at.u > 1 - 1e-5;
      const bool pole = at.v * height < 1 || (1 - at.v) * height < 1;
      if (seam || pole) {
        ++skipped;
        continue;
      }
      const reference::Color expected = reference::bilinear(before, at);
      for (std::size_t c = 0; c < 3; ++c)
        worst = std::max(worst, std::abs(pixelOf(map, x, y)[c] - expected[c]) / std::max(expected[c], 1e-3));
    }
  EXPECT_LT(worst, 2e-4) << width << " x " << height << ", " << azimuth << ", " << tiltAngle;
  EXPECT_LT(skipped, 2 * width + 2 * height);
  EXPECT_TRUE(paddingRepeatsTheRow(map));
}

TEST(Tilt, MapsWrittenPastTheCachesAgreeWithTheReference) {
  BlockedMap map = smooth(2368, 1184);
  ASSERT_GE(map.bytes(), kStreamingBytes);
  expectReference(std::move(map), 0.5f, 0.3f);
}

TEST(Tilt, FullRotationAgreesWithTheReference) {
  for (const auto& [azimuth, angle] :
       {std::pair{0.0f, 0.3f}, {1.0f, -0.3f}, {4.0f, 1.2f}, {0.7f, 3.0f}, {6.0f, -3.1415927f}, {2.0f, 2e-5f}})
    expectReference(smooth(512, 256), azimuth, angle);
}

TEST(Tilt, FullRotationAgreesWithTheReferenceOnNoise) {
  for (const auto& [width, height] : {std::pair{64u, 32u}, {12u, 40u}, {100u, 7u}, {8u, 8u}, {129u, 65u}})
    for (const auto& [azimuth, angle] : {std::pair{0.0f, 0.3f}, {5.0f, -1.3f}})
      expectReference(mapOf(width, height,
                            [](int x, int y) {
                              reference::Color color = noise(x, y);
                              for (double& channel : color) channel += 1;
                              return color;
                            }),
                      azimuth, angle);
}

TEST(Tilt, FullRotationOfTheSmallestMapsStaysInside) {
  for (const auto& [width, height] : {std::pair{1u, 1u}, {1u, 9u}, {9u, 1u}, {2u, 2u}, {3u, 2u}}) {
    BlockedMap map = mapOf(width, height, [](int, int) { return reference::Color{1, 2, 3}; });
    const BlockedMap before = mapOf(width, height, [](int, int) { return reference::Color{1, 2, 3}; });
    tilt(map, {}, TiltSettings(1, 0.5f));
    EXPECT_TRUE(sameBytes(map, before)) << width << " x " << height;
  }
}

TEST(Tilt, EmptyMapsStayEmpty) {
  BlockedMap map(0, 5);
  tilt(map, {}, TiltSettings(1, 1));
  tilt(map, {}, TiltSettings(1, 0));
  EXPECT_TRUE(map.empty());
}

/// Where eight pixels look the map up, in columns and rows, by the formula's steps in 32-bit floats:
///   theta = (y + 0.5) (1 / height) pi,  phi = x (1 / width) 6.283185,  from left to right.
struct LookUp {
  Float8 column;
  Float8 row;
};
LookUp lookUpOf(const Matrix3& rotation, std::uint32_t width, std::uint32_t height, Float8 x,
                std::uint32_t y) {
  const auto m = [&](std::size_t i, std::size_t j) { return splat(static_cast<float>(rotation[i][j])); };
  const float perRow = 1.0f / static_cast<float>(height), perColumn = 1.0f / static_cast<float>(width);
  const float rows = static_cast<float>(y) + 0.5f;
  const float part = rows * perRow;
  const SinCos8 theta = sinCos(splat(part * 3.1415927f));
  const Float8 turned = x * splat(perColumn);
  const SinCos8 phi = sinCos(turned * splat(6.283185f));
  Float8 d[3];
  for (std::size_t j = 0; j < 3; ++j)
    d[j] = fma(theta.sin, fma(m(0, j), phi.cos, m(1, j) * phi.sin), m(2, j) * theta.cos);
  const Float8 angle = atan2(d[1], d[0]) * splat(0.15915494f);
  const Float8 positive = select(angle < zero8(), angle + splat(1.0f), angle);
  const Float8 u = select(positive >= splat(1.0f), positive - splat(1.0f), positive);
  const Float8 v = arccos(min(max(d[2], splat(-1.0f)), splat(1.0f))) * splat(0.31830987f);
  return {u * splat(static_cast<float>(width - 1)), v * splat(static_cast<float>(height - 1))};
}

TEST(Tilt, PositionsHaveTheBitsOfTheFormula) {
  // The last rotation brings a little below longitude 0 what 32 bits add up to a whole turn, which is 0
  // again.
  for (const auto& [width, height] : {std::pair{8u, 9u}, {97u, 61u}, {200u, 101u}, {64u, 32u}})
    for (const auto& [azimuth, angle] :
         {std::pair{0.0f, 0.3f}, {1.0f, -0.7f}, {4.5f, 2.0f}, {1.5707961f, 3.1415927f}}) {
      // Pixels hold their own places, so a blend of them is the position, without rounding.
      BlockedMap map = mapOf(width, height, [](int x, int y) {
        return reference::Color{1.0 * x, 1.0 * y, 0.0};
      });
      tilt(map, {}, TiltSettings(azimuth, angle));
      const Matrix3 rotation = rotationMatrix(quaternionFromAxis({0, 1, 0}, -double{angle}) *
                                              quaternionFromAxis({0, 0, 1}, -double{azimuth}));
      int different = 0;
      for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < map.paddedWidth(); x += 8) {
          alignas(32) float at[8], column[8], row[8];
          for (std::uint32_t lane = 0; lane < 8; ++lane) at[lane] = static_cast<float>((x + lane) % width);
          const LookUp expected = lookUpOf(rotation, width, height, load(at), y);
          store(column, expected.column);
          store(row, expected.row);
          for (std::uint32_t lane = 0; lane < 8; ++lane) {
            const Block& block = map.row(y)[x / 8];
            different += block.r[lane] != column[lane] || block.g[lane] != row[lane];
          }
        }
      EXPECT_EQ(different, 0) << width << " x " << height << ", " << azimuth << ", " << angle;
    }
}

TEST(Tilt, WhatLiesToTheRightAndAboveComesToTheCentre) {
  constexpr int kWidth = 360, kHeight = 180;
  for (const double azimuth : {0.0, 1.0, 2.5, 4.0, 5.5})
    for (const double angle : {-1.2, -0.4, 0.0, 0.3, 1.0}) {
      BlockedMap map = lobe(kWidth, kHeight, azimuth, angle);
      tilt(map, {}, TiltSettings(static_cast<float>(azimuth), static_cast<float>(angle)));
      double brightest = 0;
      int column = 0, row = 0;
      for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
          if (pixelOf(map, x, y)[0] > brightest) {
            brightest = pixelOf(map, x, y)[0];
            column = x;
            row = y;
          }
      EXPECT_NEAR(column, kWidth / 2.0, 1.5) << azimuth << ", " << angle;
      EXPECT_NEAR(row, kHeight / 2.0, 1.5) << azimuth << ", " << angle;
      EXPECT_GT(brightest, 0.99);
    }
}

TEST(Tilt, ATinyTiltAgreesWithTheShiftUpToItsDroppedColumn) {
  constexpr int kWidth = 512, kHeight = 64;
  const auto wave = [](int x, int) {
    const double value = 2 + std::sin(kTurn * x / kWidth);
    return reference::Color{value, value, value};
  };
  for (const float azimuth : {0.0f, 0.4f, 3.0f, 5.9f}) {
    BlockedMap shift = mapOf(kWidth, kHeight, wave), full = mapOf(kWidth, kHeight, wave);
    tilt(shift, {}, TiltSettings(azimuth, 0));
    tilt(full, {}, TiltSettings(azimuth, 2e-5f));
    const double exact = kWidth * static_cast<double>(azimuth) / kTurn;
    const double dropped = exact - columnsOf(kWidth, azimuth);
    for (int y = kHeight / 4; y < 3 * kHeight / 4; ++y)
      for (int x = 0; x < kWidth; ++x) {
        // The look-up spans width - 1 columns, so it falls short by u of a column.
        const double u = std::fmod((x + exact) / kWidth, 1.0);
        if (u > 1 - 1e-4) continue;
        const double slope = std::cos(kTurn * u) * kTurn / kWidth;
        EXPECT_NEAR(pixelOf(full, x, y)[0] - pixelOf(shift, x, y)[0], slope * (dropped - u), 2e-4)
            << azimuth << ", column " << x;
      }
  }
}

TEST(Tilt, ForthAndBackReturnsASmoothMap) {
  const BlockedMap before = smooth(1024, 512);
  for (const float angle : {0.3f, -1.1f}) {
    BlockedMap map = smooth(1024, 512);
    tilt(map, {}, TiltSettings(0, angle));
    double moved = 0, back = 0;
    const auto farthest = [&] {
      double distance = 0;
      for (int y = 0; y < 512; ++y)
        for (int x = 0; x < 1024; ++x)
          for (std::size_t c = 0; c < 3; ++c)
            distance = std::max(distance, std::abs(pixelOf(map, x, y)[c] - pixelOf(before, x, y)[c]));
      return distance;
    };
    moved = farthest();
    tilt(map, {}, TiltSettings(0, -angle));
    back = farthest();
    EXPECT_GT(moved, 0.29);
    // Each way the look-up is off by up to a column and half a row, 2 pi / 1024 and pi / 1024 of slope 1.
    EXPECT_LT(back, 0.019);
  }
}

TEST(Tilt, ShiftsForthAndBackReturnEveryMap) {
  BlockedMap map = mapOf(100, 9, noise);
  tilt(map, {}, TiltSettings(static_cast<float>(kTurn * 0.305), 0));  // 30 columns
  tilt(map, {}, TiltSettings(static_cast<float>(kTurn * 0.705), 0));  // 70 columns
  EXPECT_TRUE(sameBytes(map, mapOf(100, 9, noise)));
}

TEST(Tilt, BytesAreEqualWithOneTwoAndSevenThreads) {
  std::vector<BlockedMap> turned, shifted;
  for (const std::size_t threads : {1u, 2u, 7u}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    turned.push_back(mapOf(203, 140, noise));
    tilt(turned.back(), {}, TiltSettings(1, 0.7f));
    shifted.push_back(mapOf(203, 140, noise));
    tilt(shifted.back(), {}, TiltSettings(1, 0));
  }
  for (const std::size_t i : {1u, 2u}) {
    EXPECT_TRUE(sameBytes(turned[0], turned[i]));
    EXPECT_TRUE(sameBytes(shifted[0], shifted[i]));
  }
}

TEST(Tilt, WithoutMemoryTheMapStaysAndNothingIsLost) {
  FakeHost& host = FakeHost::instance();
  host.reset();
  BlockedMap map = mapOf(64, 32, noise);
  const BlockedMap before = mapOf(64, 32, noise);
  const std::int64_t live = host.liveBlocks();
  for (const std::int64_t n : {1, 2}) {  // the column table, then the interleaved map
    host.failAllocation(n);
    EXPECT_THROW(tilt(map, {}, TiltSettings(1, 0.5f)), std::bad_alloc);
    EXPECT_TRUE(sameBytes(map, before));
    EXPECT_EQ(host.liveBlocks(), live);
  }
  host.failAllocation(1);  // a thread's row
  EXPECT_THROW(tilt(map, {}, TiltSettings(1, 0)), std::bad_alloc);
  EXPECT_EQ(host.liveBlocks(), live);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
