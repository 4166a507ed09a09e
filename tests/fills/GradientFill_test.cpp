#include "fills/GradientFill.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "fills/GradientTable.h"
#include "fills/fill_context.h"
#include "hdri/GradientBrush.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Black at 0 to white at 1: the color is the position.
void makeRamp(GradientBrush& brush) {
  brush.setStops({{0.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f, 1.0f}, {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f}});
}

struct Shaded {
  Block color;
  alignas(32) float weight[8];
};

Shaded shade(const PinFill& fill, const Lanes& u, const Lanes& v) {
  OneBlock batch = middleOfAPin();
  setLanes(batch.u, u);
  setLanes(batch.v, v);
  Shaded out;
  shade(fill, batch, out.color, out.weight);
  return out;
}

void expectNear(const float (&plane)[8], const Lanes& expected, float tolerance) {
  for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(plane[i], expected[i], tolerance) << i;
}

constexpr Lanes kAcross{-1.0f, -0.75f, -0.5f, -0.25f, 0.0f, 0.25f, 0.5f, 1.0f};

TEST(GradientFill, AsksForTheCoordinates) {
  EXPECT_EQ(makeFill<GradientFill>(GradientBrush(), true)->requirements(), 32u);
}

TEST(GradientFill, RunsFromEdgeToEdgeInARectangle) {
  GradientBrush brush;
  makeRamp(brush);
  const auto fill = makeFill<GradientFill>(brush, true);
  expectNear(shade(*fill, kAcross, all(0.3f)).color.r,
             {0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 1.0f}, 1e-6f);
}

TEST(GradientFill, RunsFromTheCentreInACircle) {
  GradientBrush brush;
  makeRamp(brush);
  const auto fill = makeFill<GradientFill>(brush, false);
  const Lanes u{0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 1.0f};
  expectNear(shade(*fill, u, all(0.9f)).color.g, u, 1e-6f);
}

TEST(GradientFill, RunsAlongTheSecondAxisAtNinetyDegrees) {
  GradientBrush brush;
  makeRamp(brush);
  brush.setAngle(90.0f);
  const auto fill = makeFill<GradientFill>(brush, true);
  expectNear(shade(*fill, all(0.7f), kAcross).color.b,
             {0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 1.0f}, 1e-6f);
}

TEST(GradientFill, RunsObliquelyAtThirtyDegrees) {
  // t = (cos 30 x + sin 30 y + 1) / 2 at (0.5, -0.25): 0.6540063509461097.
  GradientBrush brush;
  makeRamp(brush);
  brush.setAngle(30.0f);
  const auto fill = makeFill<GradientFill>(brush, true);
  EXPECT_NEAR(shade(*fill, all(0.5f), all(-0.25f)).color.r[3], 0.6540063509461097, 1e-6);
}

TEST(GradientFill, MultipliesTheCoverageByTheOpacity) {
  GradientBrush brush;
  brush.setCurve({{0.0f, 1.0f, 1.0f, 0.5f}, {1.0f, 1.0f, 1.0f, 1.0f}});
  const auto fill = makeFill<GradientFill>(brush, false);
  OneBlock batch = middleOfAPin();
  setLanes(batch.u, all(0.5f));
  setLanes(batch.weight, {0.0f, 0.2f, 0.4f, 0.6f, 0.8f, 1.0f, 0.5f, 0.1f});
  Shaded out;
  shade(*fill, batch, out.color, out.weight);
  expectNear(out.weight, {0.0f, 0.15f, 0.3f, 0.45f, 0.6f, 0.75f, 0.375f, 0.075f}, 1e-6f);
}

TEST(GradientFill, OfAnEmptyBrushIsOpaqueWhite) {
  const Shaded out = shade(*makeFill<GradientFill>(GradientBrush(), false), all(0.5f), all(0.5f));
  EXPECT_EQ(lanesOf(out.color.r), all(1.0f));
  EXPECT_EQ(lanesOf(out.weight), all(1.0f));
}

TEST(GradientFill, AppliesTheAdjustments) {
  // Brightness 2 and gamma 2 of 0.25 and a red tint of 0.5: sqrt(0.25 * 2 * 0.5), sqrt(0.25 * 2).
  GradientBrush brush;
  makeRamp(brush);
  brush.adjustments().brightness = 2.0f;
  brush.adjustments().gamma = 2.0f;
  brush.adjustments().tintRed = 0.5f;
  const Shaded out = shade(*makeFill<GradientFill>(brush, false), all(0.25f), all(0.0f));
  EXPECT_NEAR(out.color.r[0], 0.5, 1e-6);
  EXPECT_NEAR(out.color.g[0], 0.7071067811865476, 1e-6);
}

TEST(GradientFill, DoesNotFollowItsBrush) {
  GradientBrush brush;
  makeRamp(brush);
  const auto fill = makeFill<GradientFill>(brush, false);
  brush.setStops({});
  brush.setAngle(90.0f);
  EXPECT_NEAR(shade(*fill, all(0.25f), all(0.75f)).color.r[0], 0.25, 1e-6);
}

TEST(GradientFill, OfANanPositionIsTheFirstStop) {
  GradientBrush brush;
  makeRamp(brush);
  EXPECT_EQ(shade(*makeFill<GradientFill>(brush, true), all(kNan), all(0.0f)).color.r[0], 0.0f);
}

TEST(GradientFill, CompositesABatchWithTheBitsOfItsBlocks) {
  GradientBrush brush;
  makeRamp(brush);
  brush.setCurve({{0.2f, 0.0f, 0.0f, 1.0f}, {0.9f, 0.0f, 0.0f, 0.1f}});
  brush.setAngle(40.0f);
  brush.setMode(BlendMode::mix);
  brush.adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1.0f, 0.8f, 0.6f};
  EXPECT_EQ(differencesOfBatch(*makeFill<GradientFill>(brush, true), randomBatches(kBatchBlocks)), 0);
}

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

  for (const float t : positions) {
    Block color;
    alignas(32) float opacity[8];
    store(opacity, table.evaluate(splat(t), color));
    EXPECT_EQ((Rgb{color.r[5], color.g[5], color.b[5]}), brush.evalColor(t)) << t;
    EXPECT_EQ(opacity[5], brush.evalCurve(t)) << t;
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
  for (const int n : {0, 1, 2, 3, 6, 7, 8, 9, 40}) {
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

TEST(GradientTable, LeavesBrokenPositionsToTheBrush) {
  for (const float position : {-1.0f, kNan}) {
    GradientBrush brush;
    brush.setStops({{0.0f, 1, 1, 1, 0, 0, 1}, {position, 1, 1, 0, 1, 0, 1}, {1.0f, 1, 1, 0, 0, 1, 1}});
    EXPECT_FALSE(GradientTable(brush).usable());
    const Shaded out = shade(*makeFill<GradientFill>(brush, false), kAcross, all(0.0f));
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(out.color.b[i], brush.evalColor(kAcross[i]).b) << i;
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
