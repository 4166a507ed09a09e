#include "backgrounds/GradientTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "hdri/GradientBrush.h"
#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// The table's values and the brush's at many positions, the stops' own among them.
void expectTableAgrees(const GradientBrush& brush) {
  const GradientTable table(brush);
  ASSERT_TRUE(table.usable());
  std::vector<float> positions{-kInfinity, -3.0f, 0.0f, 1.0f, 5.0f, kInfinity, kNan, 1e-30f};
  const auto addAround = [&](float position) {
    positions.insert(positions.end(),
                     {position, std::nextafter(position, -9.0f), std::nextafter(position, 9.0f)});
  };
  for (const GradientStop& stop : brush.stops()) addAround(stop.position);
  for (const CurveStop& stop : brush.curve()) addAround(stop.position);
  for (int i = -20; i < 220; ++i) positions.push_back(static_cast<float>(i) * 0.00517f);

  // Padded to whole blocks by the last of them.
  const std::size_t blocks = (positions.size() + 7) / 8;
  AlignedFloats t(8 * blocks), weight(8 * blocks), coverage(8 * blocks);
  std::vector<Block> colors(blocks);
  for (std::size_t i = 0; i < t.size(); ++i) {
    t[i] = positions[std::min(i, positions.size() - 1)];
    coverage[i] = i % 3 == 0 ? 0.5f : 1.0f;
  }
  table.colors(t.data(), colors);
  table.weights(t.data(), coverage.data(), blocks, weight.data());
  for (std::size_t i = 0; i < t.size(); ++i) {
    const Block& color = colors[i / 8];
    EXPECT_EQ((Rgb{color.r[i % 8], color.g[i % 8], color.b[i % 8]}), brush.evalColor(t[i])) << t[i];
    EXPECT_EQ(weight[i], coverage[i] * brush.evalCurve(t[i])) << t[i];
  }
}

/// n stops and n opacities at random ascending positions, some of them twice.
void makeRandom(GradientBrush& brush, int n) {
  std::mt19937 random(static_cast<unsigned>(n));
  std::uniform_real_distribution<float> number(0.0f, 1.0f);
  std::vector<GradientStop> stops;
  std::vector<CurveStop> curve;
  float position = -0.1f;
  for (int i = 0; i < n; ++i) {
    if (number(random) > 0.2f) position += number(random) * 2.0f / static_cast<float>(n);
    stops.push_back({position, 3.0f * number(random), 3.0f * number(random) - 1.0f, number(random),
                     number(random), number(random), 2.0f * number(random)});
    curve.push_back({position, number(random), 3.0f * number(random), number(random)});
  }
  brush.setStops(stops);
  brush.setCurve(curve);
}

TEST(GradientTable, HasTheValuesOfTheBrushForAnyNumberOfStops) {
  for (const int n :
       {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 31, 32, 40, 1000}) {
    SCOPED_TRACE(n);
    GradientBrush brush;
    makeRandom(brush, n);
    expectTableAgrees(brush);
  }
}

TEST(GradientTable, HasTheValuesOfTheBrushForStopsAtOnePosition) {
  GradientBrush brush;
  brush.setStops({{0.5f, 1, 1, 1, 0, 0, 1}, {0.5f, 1, 1, 0, 1, 0, 1}, {0.5f, 1, 1, 0, 0, 1, 1}});
  brush.setCurve({{0.5f, 1, 1, 0.25f}, {0.5f, 1, 1, 0.75f}});
  expectTableAgrees(brush);
}

TEST(GradientTable, HasTheValuesOfTheBrushForSlopesThatAreNotFinite) {
  GradientBrush brush;
  brush.setStops(
      {{0.0f, 1, kInfinity, 1, 0, 0, 1}, {0.5f, kNan, kNan, 0, 1, 0, 1}, {1.0f, -kInfinity, 1, 0, 0, 1, 1}});
  expectTableAgrees(brush);
}

TEST(GradientTable, HasTheValuesOfTheBrushForDifferentNumbersOfColorsAndOpacities) {
  for (const std::size_t colors : {0u, 3u, 5u, 12u})
    for (const std::size_t opacities : {0u, 4u, 7u, 9u}) {
      GradientBrush brush;
      makeRandom(brush, 12);
      std::vector<GradientStop> stops = brush.stops();
      std::vector<CurveStop> curve = brush.curve();
      stops.resize(colors);
      curve.resize(opacities);
      brush.setStops(stops);
      brush.setCurve(curve);
      EXPECT_EQ(GradientTable(brush).opaque(), opacities == 0);
      expectTableAgrees(brush);
    }
}

TEST(GradientTable, CanNotBeUsedForBrokenPositions) {
  for (const int n : {1, 3, 5, 9})
    for (const float position : {-1.0f, kNan}) {
      GradientBrush brush;
      makeRandom(brush, n);
      std::vector<GradientStop> stops = brush.stops();
      stops.back().position = position;
      brush.setStops(stops);
      // A single stop may lie anywhere.
      EXPECT_EQ(GradientTable(brush).usable(), n == 1 && position == position) << n << ' ' << position;
    }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
