#include "shapes/RectPinShape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "shapes/shape_support.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using shape_support::anglesOf;
using shape_support::batchAt;
using shape_support::evaluateAt;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct RectOptions {
  float rotation = 0;
  bool half = false;
  float cornerRadius = 0;
};

RectPinParams rect(float azimuth, float elevation, float halfWidth, float halfHeight,
                   RectOptions options = {}) {
  RectPinParams params;
  params.azimuth = azimuth;
  params.elevation = elevation;
  params.halfWidth = halfWidth;
  params.halfHeight = halfHeight;
  params.rotation = options.rotation;
  params.half = options.half ? 1 : 0;
  params.cornerRadius = options.cornerRadius;
  return params;
}

/// The direction whose angles along the two axes of a frame are (along1, along2).
shape_support::Angles atAngles(const reference::Frame& frame, double along1, double along2) {
  reference::Vec3 p;
  double length = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    p[i] = frame.centre[i] + std::tan(along1) * frame.tangent1[i] + std::tan(along2) * frame.tangent2[i];
    length += p[i] * p[i];
  }
  for (double& x : p) x /= std::sqrt(length);
  return anglesOf(p);
}

class RectShape : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(RectShape, LatitudeRangeIsTheBoundingRadiusWithoutThePixel) {
  float lowest, highest;
  const auto bound = static_cast<float>(std::acos(std::cos(0.4) * std::cos(0.3)));
  RectPinShape(rect(1, 0.25f, 0.4f, 0.3f), 0.2f).latitudeRange(lowest, highest);
  EXPECT_NEAR(lowest, 0.25f - bound, 1e-6);
  EXPECT_NEAR(highest, 0.25f + bound, 1e-6);
}

TEST_F(RectShape, LatitudeRangeEndsAtThePoles) {
  float lowest, highest;
  RectPinShape(rect(0, 1.4f, 0.4f, 0.3f), 0.01f).latitudeRange(lowest, highest);
  EXPECT_EQ(highest, 1.5707964f);
}

TEST_F(RectShape, SpansAtTheEquatorAreTheWidthAndOnePixel) {
  AzimuthSpans spans;
  RectPinShape(rect(0.5f, 0, 0.4f, 0.3f), 0.05f).azimuthSpans(0, spans);
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_NEAR(spans[0].begin, 0.05f, 1e-6);
  EXPECT_NEAR(spans[0].end, 0.95f, 1e-6);
}

TEST_F(RectShape, RowsBesideItHaveNoSpans) {
  AzimuthSpans spans;
  const RectPinShape shape(rect(0.5f, 0.8f, 0.4f, 0.1f), 0.05f);
  shape.azimuthSpans(-0.3f, spans);
  EXPECT_TRUE(spans.empty());
}

TEST_F(RectShape, SpansOverTheSeamAreTwo) {
  AzimuthSpans spans;
  RectPinShape(rect(3.1f, 0, 0.4f, 0.3f), 0.05f).azimuthSpans(0, spans);
  ASSERT_EQ(spans.size(), 2u);
  EXPECT_EQ(spans[0].begin, -3.1415927f);
  EXPECT_NEAR(spans[0].end, 3.55 - 6.28318531, 1e-6);
  EXPECT_NEAR(spans[1].begin, 2.65, 1e-6);
  EXPECT_EQ(spans[1].end, 3.1415927f);
}

TEST_F(RectShape, HoldingAPoleSpansTheWholeRowBesideIt) {
  AzimuthSpans spans;
  RectPinShape(rect(0.7f, 1.45f, 0.5f, 0.4f), 0.01f).azimuthSpans(1.57079f, spans);
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_EQ(spans[0], (AzimuthSpan{-3.1415927f, 3.1415927f}));
}

TEST_F(RectShape, SpansHoldEveryCoveredPixel) {
  const RectPinShape shapes[] = {RectPinShape(rect(0.3f, 0.2f, 0.9f, 0.5f, {0.7f}), 0.02f),
                                 RectPinShape(rect(-3.0f, 1.2f, 0.6f, 0.9f, {-0.4f}), 0.02f),
                                 RectPinShape(rect(2.0f, -1.5f, 1.2f, 0.3f, {2.0f}), 0.02f)};
  for (const RectPinShape& shape : shapes) {
    int covered = 0;
    for (float row = -1.56f; row < 1.57f; row += 0.04f) {
      AzimuthSpans spans;
      shape.azimuthSpans(row, spans);
      for (float azimuth = -3.14f; azimuth < 3.14f; azimuth += 0.02f) {
        if (evaluateAt(shape, 0, azimuth, row).mask[0] == 0) continue;
        ++covered;
        const bool held = std::any_of(spans.begin(), spans.end(), [&](const AzimuthSpan& span) {
          return span.begin <= azimuth && azimuth <= span.end;
        });
        EXPECT_TRUE(held) << "row " << row << " azimuth " << azimuth;
      }
    }
    EXPECT_GT(covered, 100);
  }
}

TEST_F(RectShape, CoordinatesAreAnglesAlongTheAxes) {
  const RectPinShape shape(rect(0.8f, -0.4f, 0.6f, 0.35f, {0.3f}), 0.01f);
  const reference::Frame frame = reference::tangentFrame(0.8f, -0.4f, 0.3f);
  for (double u = -0.95; u < 1; u += 0.19) {
    for (double v = -0.95; v < 1; v += 0.19) {
      const auto at = atAngles(frame, 0.6 * u, 0.35 * v);
      const OneBlock batch = evaluateAt(shape, 0, at.azimuth, at.elevation);
      EXPECT_NEAR(batch.u[0], u, 2e-6);
      EXPECT_NEAR(batch.v[0], v, 3e-6);
      EXPECT_EQ(batch.mask[0], 0xffffffffu);
      EXPECT_EQ(batch.weight[0], 1.0f);
    }
  }
}

TEST_F(RectShape, OutsideEitherEdgeIsMaskedOut) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f), 0.01f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.601f, 0).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, -0.601f, 0).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, 0, 0.301f).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, 0, -0.301f).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, 0.599f, 0.2f).mask[0], 0xffffffffu);
}

TEST_F(RectShape, TheBorderItselfIsInside) {
  // A quarter turn along the first axis is the angle pi/2 to the bit.
  const RectPinShape shape(rect(0, 0, 1.5707964f, 0.3f), 0.01f);
  const OneBlock batch = evaluateAt(shape, 0, 1.5707964f, 0);
  EXPECT_EQ(batch.u[0], 1.0f);
  EXPECT_EQ(batch.mask[0], 0xffffffffu);
}

TEST_F(RectShape, PixelsBehindTheCentreAreOutside) {
  const RectPinShape shape(rect(0, 0, 1.5f, 1.5f), 0.01f);
  EXPECT_EQ(evaluateAt(shape, 0, 3.1f, 0.1f).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, -2.0f, -0.5f).mask[0], 0u);
  const OneBlock behind = evaluateAt(shape, 0, 2.5f, 0);
  EXPECT_NEAR(behind.u[0] * 1.5f, 2.5f, 1e-6);
}

TEST_F(RectShape, CosineToTheCentreIsNotClamped) {
  const RectPinShape shape(rect(0.37f, 0.61f, 0.6f, 0.3f), 0.01f);
  EXPECT_NEAR(evaluateAt(shape, 0, 0.37f, 0.61f).cosAngle[0], 1.0f, 3e-7);
  EXPECT_NEAR(evaluateAt(shape, 0, 0.37f + 3.1415927f, -0.61f).cosAngle[0], -1.0f, 3e-7);
}

TEST_F(RectShape, SoftEdgeFadesOverOnePixelAngleInside) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f), 0.1f);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0.55f, 0).weight[0], 0.5f, 1e-5);
  EXPECT_NEAR(evaluateAt(shape, 0x10, -0.575f, 0).weight[0], 0.15625f, 1e-5);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0, 0.25f).weight[0], 0.5f, 1e-5);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0, 0).weight[0], 1.0f);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0.61f, 0).weight[0], 0.0f);
}

TEST_F(RectShape, CutWithoutSoftEdgeWeighsTheNegativeSideWithZero) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f, {.half = true}), 0.1f);
  const OneBlock below = evaluateAt(shape, 0, 0.1f, -0.1f);
  EXPECT_EQ(below.weight[0], 0.0f);
  EXPECT_EQ(below.mask[0], 0xffffffffu);
  EXPECT_EQ(evaluateAt(shape, 0, 0.1f, 0).weight[0], 0.0f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.1f, 0.1f).weight[0], 1.0f);
}

TEST_F(RectShape, SoftCutFadesInOverOnePixelAngle) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f, {.half = true}), 0.1f);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0, 0.05f).weight[0], 0.5f, 1e-5);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0, -0.01f).weight[0], 0.0f);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0, 0.15f).weight[0], 1.0f);
}

TEST_F(RectShape, RoundCornersFollowAnArc) {
  // Corner centre at (0.4, 0.1), radius 0.2; along the diagonal the arc lies at 0.2 / sqrt 2 from it.
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f, {.cornerRadius = 0.2f}), 0.01f);
  const reference::Frame frame = reference::tangentFrame(0, 0, 0);
  const auto weightAt = [&](double distance) {
    const auto at = atAngles(frame, 0.4 + distance / std::sqrt(2.0), 0.1 + distance / std::sqrt(2.0));
    return evaluateAt(shape, 0, at.azimuth, at.elevation).weight[0];
  };
  EXPECT_EQ(weightAt(0.15), 1.0f);
  EXPECT_NEAR(weightAt(0.195), 0.5f, 2e-4);
  EXPECT_EQ(weightAt(0.21), 0.0f);
  // Beside the corner squares the straight edge holds.
  const auto side = atAngles(frame, 0.3, 0.295);
  EXPECT_NEAR(evaluateAt(shape, 0, side.azimuth, side.elevation).weight[0], 0.5f, 2e-4);
}

TEST_F(RectShape, TinyCornerRadiusIsSquare) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f, {.cornerRadius = 1e-5f}), 0.01f);
  const auto at = atAngles(reference::tangentFrame(0, 0, 0), 0.5999, 0.2999);
  EXPECT_EQ(evaluateAt(shape, 0, at.azimuth, at.elevation).weight[0], 1.0f);
}

TEST_F(RectShape, CornersAreRoundFromARadiusAboveOneInAHundredThousand) {
  // A round corner brings its soft edge along: a pixel in the outermost thousandth is half covered.
  const auto edgeWeight = [](float cornerRadius) {
    const RectPinShape shape(rect(0, 0, 0.6f, 0.3f, {.cornerRadius = cornerRadius}), 0.002f);
    return evaluateAt(shape, 0, 0.599f, 0).weight[0];
  };
  EXPECT_EQ(edgeWeight(1e-5f), 1.0f);
  EXPECT_NEAR(edgeWeight(1.1e-5f), 0.5f, 1e-3);
}

TEST_F(RectShape, AnAxisWithoutWidthHoldsThePixelsOnIt) {
  // 0 / 0 along the first axis is no number, and not outside.
  const RectPinShape shape(rect(0, 0, 0, 0.3f), 0.01f);
  const OneBlock on = evaluateAt(shape, 0, 0, 0.1f);
  EXPECT_TRUE(std::isnan(on.u[0]));
  EXPECT_EQ(on.mask[0], 0xffffffffu);
  EXPECT_EQ(evaluateAt(shape, 0, 0.001f, 0.1f).mask[0], 0u);
}

TEST_F(RectShape, ChangesAreTheDerivativesTimesThePixelAngle) {
  const float pixelAngle = 0.02f;
  const RectPinShape shape(rect(0.8f, -0.4f, 0.6f, 0.35f, {0.3f}), pixelAngle);
  const reference::Frame frame = reference::tangentFrame(0.8f, -0.4f, 0.3f);
  const auto angle = [&](double azimuth, double elevation, const reference::Vec3& axis) {
    const reference::Vec3 p = reference::direction(azimuth, elevation);
    return std::atan2(reference::dot(p, axis), reference::dot(p, frame.centre));
  };
  const double h = 1e-5;
  for (float azimuth = 0.4f; azimuth < 1.3f; azimuth += 0.2f) {
    for (float elevation = -0.7f; elevation < 0; elevation += 0.2f) {
      const OneBlock batch = evaluateAt(shape, 0x30, azimuth, elevation);
      const double a = azimuth, e = elevation;
      int plane = 0;
      for (const reference::Vec3& axis : {frame.tangent1, frame.tangent2}) {
        const double byAzimuth = (angle(a + h, e, axis) - angle(a - h, e, axis)) / (2 * h);
        const double byElevation = (angle(a, e + h, axis) - angle(a, e - h, axis)) / (2 * h);
        EXPECT_NEAR(batch.changes[plane++][2], byAzimuth * 0.02, 2e-7);
        EXPECT_NEAR(batch.changes[plane++][2], byElevation * 0.02, 2e-7);
      }
    }
  }
}

TEST_F(RectShape, SoftEdgeAloneLeavesTheChangesAsThePassWroteThem) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f), 0.01f);
  OneBlock batch = batchAt(kNeedsSoftEdge, 0.1f, 0.1f);
  batch.changes[1][4] = 7;
  evaluate(shape, batch);
  EXPECT_EQ(batch.changes[1][4], 7);
}

TEST_F(RectShape, HardEdgeClearsTheChanges) {
  const RectPinShape shape(rect(0, 0, 0.6f, 0.3f), 0.01f);
  OneBlock batch = batchAt(kNeedsCoordinates, 0.1f, 0.1f);
  for (auto& plane : batch.changes) std::fill(plane, plane + 8, 7.0f);
  evaluate(shape, batch);
  for (const auto& plane : batch.changes) {
    for (const float change : plane) EXPECT_EQ(change, 0);
  }
}

TEST_F(RectShape, DirectionsAreThoseOfTheSphere) {
  const RectPinShape shape(rect(1, 0.5f, 0.5f, 0.4f), 0.01f);
  const OneBlock batch = evaluateAt(shape, kNeedsDirection, 1.25f, 0.4f);
  const reference::Vec3 p = reference::direction(1.25f, 0.4f);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(batch.directionWorld[i][5], p[i], 3e-7);
}

TEST_F(RectShape, ParametersThatAreNotFiniteCoverNothing) {
  for (const float bad : {kNaN, kInfinity, -kInfinity}) {
    for (int field = 0; field < 7; ++field) {
      RectPinParams params = rect(0.1f, 0.2f, 0.5f, 0.3f);
      float* const fields[] = {&params.azimuth,      &params.elevation, &params.halfWidth,
                               &params.halfHeight,   &params.rotation,  &params.cornerRadius,
                               &params.falloffAmount};
      *fields[field] = bad;
      AzimuthSpans spans;
      RectPinShape(params, 0.01f).azimuthSpans(0.2f, spans);
      EXPECT_TRUE(spans.empty()) << "field " << field << " " << bad;
    }
  }
}

TEST_F(RectShape, MissingCurveCountsAsSolid) {
  RectPinParams params = rect(0, 0, 0.5f, 0.5f);
  params.falloffKind = Falloff::circleLinear;
  const RectPinShape shape(params, 0.01f);
  OneBlock batch{};
  alignas(32) float out[8];
  EXPECT_EQ(evaluate(shape.curve(), out, batch)[0], 1.0f);
}

TEST_F(RectShape, GivesItsStorageBack) {
  { const std::unique_ptr<PinShape> shape(new (std::nothrow) RectPinShape(rect(0, 0, 0.5f, 0.5f), 0.01f)); }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
