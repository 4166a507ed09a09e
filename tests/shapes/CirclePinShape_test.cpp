#include "shapes/CirclePinShape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "shapes/shape_support.h"
#include "support/fake_host/FakeHost.h"
#include "support/reference/pins.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using shape_support::batchAt;
using shape_support::evaluateAt;
using shape_support::polar;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

CirclePinParams circle(float azimuth, float elevation, float radius, float rotation = 0, bool half = false) {
  CirclePinParams params;
  params.azimuth = azimuth;
  params.elevation = elevation;
  params.radius = radius;
  params.rotation = rotation;
  params.half = half ? 1 : 0;
  return params;
}

class CircleShape : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(CircleShape, LatitudeRangeIsTheRadiusAboutTheCentre) {
  float lowest, highest;
  CirclePinShape(circle(1, 0.25f, 0.5f), 0.01f).latitudeRange(lowest, highest);
  EXPECT_EQ(lowest, -0.25f);
  EXPECT_EQ(highest, 0.75f);
}

TEST_F(CircleShape, LatitudeRangeEndsAtThePoles) {
  float lowest, highest;
  CirclePinShape(circle(0, 1.4f, 0.5f), 0.01f).latitudeRange(lowest, highest);
  EXPECT_EQ(highest, 1.5707964f);
  CirclePinShape(circle(0, -1.4f, 0.5f), 0.01f).latitudeRange(lowest, highest);
  EXPECT_EQ(lowest, -1.5707964f);
}

TEST_F(CircleShape, SpansOverTheSeamComeInAscendingOrder) {
  AzimuthSpans spans;
  CirclePinShape(circle(3.0f, 0, 0.5f), 0.01f).azimuthSpans(0, spans);
  ASSERT_EQ(spans.size(), 2u);
  EXPECT_EQ(spans[0].begin, -3.1415927f);
  EXPECT_NEAR(spans[0].end, 3.5 - 6.28318531, 1e-6);
  EXPECT_NEAR(spans[1].begin, 2.5, 1e-6);
  EXPECT_EQ(spans[1].end, 3.1415927f);
}

TEST_F(CircleShape, RowsBesideItHaveNoSpans) {
  AzimuthSpans spans;
  const CirclePinShape shape(circle(0, 0.5f, 0.1f), 0.01f);
  shape.azimuthSpans(0.3f, spans);
  EXPECT_TRUE(spans.empty());
}

TEST_F(CircleShape, RowsInsideItHaveOneWholeSpan) {
  AzimuthSpans spans;
  const CirclePinShape shape(circle(0.3f, 1.5f, 0.5f), 0.01f);
  shape.azimuthSpans(1.4f, spans);
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_EQ(spans[0], (AzimuthSpan{-3.1415927f, 3.1415927f}));
}

TEST_F(CircleShape, CoordinatesFollowDistanceAndAngle) {
  const CirclePinParams params = circle(0.8f, -0.4f, 0.6f, 0.3f);
  const CirclePinShape shape(params, 0.01f);
  const reference::Frame frame = reference::tangentFrame(0.8f, -0.4f, 0.3f);
  for (double share = 0.05; share < 0.99; share += 0.1) {
    for (double about = -3.0; about < 3.1; about += 0.5) {
      const auto at = polar(frame, 0.6 * share, about);
      const OneBlock batch = evaluateAt(shape, kNeedsCoordinates, at.azimuth, at.elevation);
      EXPECT_NEAR(batch.u[0], share, 2e-5);
      EXPECT_NEAR(batch.v[0], (about / 3.14159265 + 1) / 2, 4e-6 / share);
      EXPECT_EQ(batch.mask[0], 0xffffffffu);
      EXPECT_NEAR(batch.cosAngle[0], std::cos(0.6 * share), 3e-7);
    }
  }
}

TEST_F(CircleShape, AngleIsOneHalfAlongTheFirstAxisAndGrowsTowardsTheSecond) {
  const CirclePinShape shape(circle(0, 0, 0.5f), 0.01f);
  EXPECT_NEAR(evaluateAt(shape, 0x20, 0.1f, 0).v[0], 0.5f, 1e-6);
  EXPECT_NEAR(evaluateAt(shape, 0x20, 0, 0.1f).v[0], 0.75f, 1e-6);
  EXPECT_NEAR(evaluateAt(shape, 0x20, 0, -0.1f).v[0], 0.25f, 1e-6);
  EXPECT_NEAR(evaluateAt(shape, 0x20, -0.1f, 1e-7f).v[0], 1.0f, 1e-6);
  EXPECT_NEAR(evaluateAt(shape, 0x20, -0.1f, -1e-7f).v[0], 0.0f, 1e-6);
}

TEST_F(CircleShape, FastAndFullPathAgree) {
  const CirclePinShape shape(circle(-2.0f, 0.7f, 0.9f, 1.1f), 0.02f);
  for (float elevation = -0.3f; elevation < 1.6f; elevation += 0.07f) {
    for (float azimuth = -3.1f; azimuth < 0; azimuth += 0.37f) {
      OneBlock fast = batchAt(0, azimuth, elevation, 0.041f);
      OneBlock full = batchAt(kNeedsDirection, azimuth, elevation, 0.041f);
      evaluate(shape, fast);
      evaluate(shape, full);
      for (int i = 0; i < 8; ++i) EXPECT_NEAR(fast.cosAngle[i], full.cosAngle[i], 4e-7);
    }
  }
}

TEST_F(CircleShape, FastPathLeavesTheFrameAlone) {
  const CirclePinShape shape(circle(0, 0, 0.5f), 0.01f);
  OneBlock batch = batchAt(kNeedsSoftEdge, 0.2f, 0.1f);
  batch.dotT1[3] = 42;
  batch.dotT2[3] = 43;
  batch.v[3] = 44;
  batch.changes[2][3] = 45;
  evaluate(shape, batch);
  EXPECT_EQ(batch.dotT1[3], 42);
  EXPECT_EQ(batch.dotT2[3], 43);
  EXPECT_EQ(batch.v[3], 44);
  EXPECT_EQ(batch.changes[2][3], 45);
}

TEST_F(CircleShape, DirectionsAreThoseOfTheSphere) {
  const CirclePinShape shape(circle(1, 0.5f, 0.5f, 0.4f), 0.01f);
  const OneBlock batch = evaluateAt(shape, kNeedsDirection, 1.25f, 0.4f);
  const reference::Vec3 p = reference::direction(1.25f, 0.4f);
  const reference::Frame frame = reference::tangentFrame(1, 0.5f, 0.4f);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(batch.directionWorld[i][5], p[i], 3e-7);
  EXPECT_NEAR(batch.dotT1[5], reference::dot(p, frame.tangent1), 4e-7);
  EXPECT_NEAR(batch.dotT2[5], reference::dot(p, frame.tangent2), 4e-7);
}

TEST_F(CircleShape, HardEdgeIsOneInsideAndNothingOutside) {
  const CirclePinShape shape(circle(0, 0, 0.5f), 0.01f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.49f, 0).weight[0], 1.0f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.51f, 0).weight[0], 0.0f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.51f, 0).mask[0], 0u);
}

TEST_F(CircleShape, ThePixelOnTheRimIsOutside) {
  // A quarter turn from the centre the cosine is 0, whose arc cosine here is the radius given.
  const float onRim = 1.57079518f;
  const CirclePinShape shape(circle(0, 0, onRim), 0.01f);
  const OneBlock batch = evaluateAt(shape, 0, 1.5707964f, 0);
  EXPECT_EQ(batch.cosAngle[0], 0.0f);
  EXPECT_EQ(batch.mask[0], 0u);
  EXPECT_EQ(batch.weight[0], 0.0f);
}

TEST_F(CircleShape, SoftEdgeFadesOverOnePixelAngleInside) {
  const CirclePinShape shape(circle(0, 0, 0.5f), 0.1f);
  // Distances to the rim: 0.05 is S(1/2), 0.025 is S(1/4) = 10/64.
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0.45f, 0).weight[0], 0.5f, 5e-5);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0.475f, 0).weight[0], 0.15625f, 5e-5);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0.39f, 0).weight[0], 1.0f);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0.51f, 0).weight[0], 0.0f);
}

TEST_F(CircleShape, CutKeepsThePositiveSideOfTheSecondAxis) {
  const CirclePinShape shape(circle(0, 0, 0.5f, 0, true), 0.01f);
  EXPECT_EQ(evaluateAt(shape, 0, 0.1f, 0.2f).mask[0], 0xffffffffu);
  EXPECT_EQ(evaluateAt(shape, 0, 0.1f, -0.2f).mask[0], 0u);
  EXPECT_EQ(evaluateAt(shape, 0, 0.1f, 0.0f).mask[0], 0u);
}

TEST_F(CircleShape, SoftCutFadesInOverOnePixelAngle) {
  const CirclePinShape shape(circle(0, 0, 0.5f, 0, true), 0.1f);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0, 0.05f).weight[0], 0.5f, 5e-5);
  EXPECT_NEAR(evaluateAt(shape, 0x10, 0, 0.025f).weight[0], 0.15625f, 5e-5);
  EXPECT_EQ(evaluateAt(shape, 0x10, 0, 0.2f).weight[0], 1.0f);
}

TEST_F(CircleShape, ZeroRadiusCoversNothing) {
  const CirclePinShape shape(circle(0.5f, 0.5f, 0), 0.01f);
  for (const float azimuth : {0.5f, 0.50001f, 0.6f, -2.0f}) {
    EXPECT_EQ(evaluateAt(shape, 0x70, azimuth, 0.5f).mask[0], 0u);
    EXPECT_EQ(evaluateAt(shape, 0, azimuth, 0.5f).mask[0], 0u);
  }
}

TEST_F(CircleShape, CoversTheSphereAtRadiusPi) {
  const CirclePinShape shape(circle(0, 0, 3.15f), 0.01f);
  EXPECT_EQ(evaluateAt(shape, 0, 3.1415927f, 0).mask[0], 0xffffffffu);
  EXPECT_EQ(evaluateAt(shape, 0, 0, 1.57f).weight[0], 1.0f);
}

TEST_F(CircleShape, CosineIsClamped) {
  const CirclePinShape shape(circle(0.1f, 0.2f, 0.5f), 0.01f);
  for (float azimuth = -3.2f; azimuth < 3.2f; azimuth += 0.01f) {
    for (const std::uint32_t needs : {0u, 0x20u}) {
      const OneBlock batch = evaluateAt(shape, needs, azimuth, 0.2f);
      EXPECT_LE(std::abs(batch.cosAngle[0]), 1.0f);
      EXPECT_FALSE(std::isnan(batch.u[0]));
    }
  }
}

TEST_F(CircleShape, ParametersThatAreNotFiniteCoverNothing) {
  for (const float bad : {kNaN, kInfinity, -kInfinity}) {
    for (int field = 0; field < 5; ++field) {
      CirclePinParams params = circle(0.1f, 0.2f, 0.5f);
      float* const fields[] = {&params.azimuth, &params.elevation, &params.radius, &params.rotation,
                               &params.falloffAmount};
      *fields[field] = bad;
      AzimuthSpans spans;
      CirclePinShape(params, 0.01f).azimuthSpans(0.2f, spans);
      EXPECT_TRUE(spans.empty()) << "field " << field << " " << bad;
    }
  }
}

TEST_F(CircleShape, MissingCurveCountsAsSolid) {
  CirclePinParams params = circle(0, 0, 0.5f);
  params.falloffKind = Falloff::rectCosine;
  const CirclePinShape shape(params, 0.01f);
  OneBlock batch{};
  alignas(32) float out[8];
  EXPECT_EQ(evaluate(shape.curve(), out, batch)[7], 1.0f);
}

TEST_F(CircleShape, IsAlignedAndGivesItsStorageBack) {
  {
    const std::unique_ptr<PinShape> shape(new (std::nothrow) CirclePinShape(circle(0, 0, 0.5f), 0.01f));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(shape.get()) % 32, 0u);
    EXPECT_EQ(FakeHost::instance().liveBlocks(), 2);
  }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(CircleShape, EvaluationAllocatesNothing) {
  const CirclePinShape shape(circle(0, 0, 0.5f, 0, true), 0.01f);
  const auto before = FakeHost::instance().totalAllocations();
  evaluateAt(shape, 0x70, 0.1f, 0.1f);
  EXPECT_EQ(FakeHost::instance().totalAllocations(), before);
}

TEST_F(CircleShape, ColumnExtentHoldsItsSpans) {
  for (float elevation = -1.5f; elevation < 1.6f; elevation += 0.3f) {
    for (const float radius : {0.01f, 0.2f, 0.9f, 2.0f}) {
      const CirclePinShape shape(circle(0, elevation, radius), 0.01f);
      const auto extent = shape.cosFromCentreExtent(0);
      ASSERT_TRUE(extent.has_value());
      for (float row = -1.57f; row < 1.565f; row += 0.01f) {
        AzimuthSpans spans;
        shape.azimuthSpans(row, spans);
        for (const AzimuthSpan& span : spans) {
          EXPECT_LE(span.end, extent->half + 1e-4f);
          EXPECT_GE(span.begin, -extent->half - 1e-4f);
        }
      }
    }
  }
}

TEST_F(CircleShape, ColumnExtentIsOfTheFastPathAlone) {
  const CirclePinShape whole(circle(0, 0, 0.5f), 0.01f);
  const CirclePinShape cut(circle(0, 0, 0.5f, 0, true), 0.01f);
  EXPECT_TRUE(whole.cosFromCentreExtent(kNeedsSoftEdge).has_value());
  EXPECT_FALSE(whole.cosFromCentreExtent(kNeedsCoordinates).has_value());
  EXPECT_FALSE(whole.cosFromCentreExtent(kNeedsDirection).has_value());
  EXPECT_FALSE(cut.cosFromCentreExtent(0).has_value());
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
