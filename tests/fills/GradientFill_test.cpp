#include "fills/GradientFill.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "fills/fill_context.h"
#include "hdri/GradientBrush.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

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

TEST(GradientFill, LeavesBrokenPositionsToTheBrush) {
  for (const float position : {-1.0f, kNan}) {
    GradientBrush brush;
    brush.setStops({{0.0f, 1, 1, 1, 0, 0, 1}, {position, 1, 1, 0, 1, 0, 1}, {1.0f, 1, 1, 0, 0, 1, 1}});
    const Shaded out = shade(*makeFill<GradientFill>(brush, false), kAcross, all(0.0f));
    for (std::size_t i = 0; i < 8; ++i) {
      const Rgb expected = brush.evalColor(kAcross[i]);
      EXPECT_EQ((Rgb{out.color.r[i], out.color.g[i], out.color.b[i]}), expected) << i;
    }
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
