// The thirteen falloff curves: points worked out by hand, whole curves against double precision.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "shapes/CosineFalloff.h"
#include "shapes/FalloffCurve.h"
#include "shapes/RadialQuadraticFalloff.h"
#include "support/fake_host/FakeHost.h"
#include "support/one_block.h"
#include "support/reference/falloffs.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr Falloff kCircleKinds[] = {Falloff::circleCosine,
                                    Falloff::circleLinear,
                                    Falloff::circleQuadratic,
                                    Falloff::circleSmoothEdge,
                                    Falloff::circleGaussianEdge,
                                    Falloff::outline,
                                    Falloff::solid};
constexpr Falloff kRectKinds[] = {Falloff::rectCosine,  Falloff::rectLinear,     Falloff::rectQuadratic,
                                  Falloff::rectBoxEdge, Falloff::rectBoxProduct, Falloff::rectBoxGaussian,
                                  Falloff::outline,     Falloff::solid};
constexpr float kAmounts[] = {-0.5f, 0.0f, 1e-6f, 0.3f, 1.0f, 1.5f};

CirclePinParams circle(Falloff kind, float amount, float radius = 0.5f) {
  CirclePinParams params;
  params.radius = radius;
  params.falloffKind = kind;
  params.falloffAmount = amount;
  return params;
}

RectPinParams rect(Falloff kind, float amount, float halfWidth = 0.6f, float halfHeight = 0.3f) {
  RectPinParams params;
  params.halfWidth = halfWidth;
  params.halfHeight = halfHeight;
  params.falloffKind = kind;
  params.falloffAmount = amount;
  return params;
}

/// The curve's weight with the same inputs in all lanes.
float weight(const FalloffCurve& curve, float u, float v = 0, float cosAngle = 1) {
  OneBlock batch{};
  for (int i = 0; i < 8; ++i) {
    batch.u[i] = u;
    batch.v[i] = v;
    batch.cosAngle[i] = cosAngle;
  }
  alignas(32) float out[8];
  EXPECT_EQ(evaluate(curve, out, batch), out);
  for (int i = 1; i < 8; ++i) EXPECT_EQ(std::memcmp(&out[i], &out[0], sizeof(float)), 0);
  return out[0];
}

class Falloffs : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(Falloffs, CirclesLinearIsOneHalfAtTheRimForAmountZero) {
  const auto curve = makeCircleFalloff(circle(Falloff::circleLinear, 0));
  EXPECT_EQ(weight(*curve, 0), 1.0f);
  EXPECT_EQ(weight(*curve, 1), 0.5f);
}

TEST_F(Falloffs, RectanglesLinearIsZeroAtTheEdgeForAmountZero) {
  const auto curve = makeRectFalloff(rect(Falloff::rectLinear, 0));
  EXPECT_EQ(weight(*curve, 0, 0), 1.0f);
  EXPECT_EQ(weight(*curve, 0.6f, 0.8f), 0.0f);
  EXPECT_FLOAT_EQ(weight(*curve, 0.3f, 0.4f), 0.5f);
}

TEST_F(Falloffs, LinearOfAmountOneIsOneAtTheCentreAlone) {
  for (const float amount : {1.0f, 1.5f}) {
    const auto curve = makeCircleFalloff(circle(Falloff::circleLinear, amount));
    EXPECT_EQ(weight(*curve, 0), 1.0f);
    EXPECT_EQ(weight(*curve, 1e-6f), 0.0f);
    EXPECT_EQ(weight(*curve, 1), 0.0f);
  }
}

TEST_F(Falloffs, LinearOfAmountOneFallsByTenToTheTwentyAnAxis) {
  EXPECT_FLOAT_EQ(weight(*makeCircleFalloff(circle(Falloff::circleLinear, 1)), 5e-21f), 0.5f);
  EXPECT_FLOAT_EQ(weight(*makeRectFalloff(rect(Falloff::rectLinear, 1)), 0, -1e-15f), 0.0f);
  EXPECT_EQ(weight(*makeRectFalloff(rect(Falloff::rectLinear, 1)), 0, 0), 1.0f);
}

TEST_F(Falloffs, CosineOfAmountZeroRisesWithinOneInAHundredThousand) {
  // cos r = 1/2; halfway up at 5e-6 above it, to the rounding of the cosine.
  const auto curve = makeCircleFalloff(circle(Falloff::circleCosine, 0, 1.0471976f));
  EXPECT_NEAR(weight(*curve, 0.5f, 0, 0.500005f), 0.5f, 2e-2);
  EXPECT_EQ(weight(*curve, 0.5f, 0, 0.50002f), 1.0f);
}

TEST_F(Falloffs, QuadraticOfAmountZeroBulges) {
  // a = -3: (1 - u)(1 + 3 u); at 1/2 that is 1.25, cut to 1; at 0.9 it is 0.37.
  for (const float amount : {0.0f, -2.0f}) {
    const auto curve = makeCircleFalloff(circle(Falloff::circleQuadratic, amount));
    EXPECT_EQ(weight(*curve, 0.5f), 1.0f);
    EXPECT_NEAR(weight(*curve, 0.9f), 0.37f, 1e-6);
    EXPECT_EQ(weight(*curve, 1), 0.0f);
  }
}

TEST_F(Falloffs, QuadraticOfAmountOneIsAParabola) {
  for (const float amount : {1.0f, 7.0f}) {
    const auto curve = makeCircleFalloff(circle(Falloff::circleQuadratic, amount));
    EXPECT_EQ(weight(*curve, 0.5f), 0.25f);
    EXPECT_EQ(weight(*curve, 1), 0.0f);
  }
}

TEST_F(Falloffs, SmoothEdgeFadesOverTheLastAmountOfTheRadius) {
  const auto curve = makeCircleFalloff(circle(Falloff::circleSmoothEdge, 0.5f));
  EXPECT_EQ(weight(*curve, 0.5f), 1.0f);
  EXPECT_EQ(weight(*curve, 0.75f), 0.5f);
  EXPECT_EQ(weight(*curve, 1), 0.0f);
}

TEST_F(Falloffs, TinyAmountsMakeAnAlmostHardRim) {
  // 1/100000 of the radius.
  for (const Falloff kind : {Falloff::circleSmoothEdge, Falloff::circleGaussianEdge}) {
    for (const float amount : {1e-5f, 0.0f}) {
      const auto curve = makeCircleFalloff(circle(kind, amount));
      EXPECT_NEAR(weight(*curve, 0.9999f), 1.0f, 2e-4);
      EXPECT_NEAR(weight(*curve, 0.999995f), 0.5f, 5e-3);
      EXPECT_EQ(weight(*curve, 1), 0.0f);
    }
  }
}

TEST_F(Falloffs, GaussianEdgeFollowsExpOfMinusSixteenAmount) {
  const auto curve = makeCircleFalloff(circle(Falloff::circleGaussianEdge, 0.25f));
  EXPECT_EQ(weight(*curve, 0), 1.0f);
  EXPECT_NEAR(weight(*curve, 0.5f), std::exp(-1.0), 1e-6);
  EXPECT_EQ(weight(*curve, 1), 0.0f);
}

TEST_F(Falloffs, OutlineReachesFromTheEdgeTwoDegreesInwards) {
  // k = 0.34906585 / 0.034906585 = 10, so the rim is the last tenth.
  const auto curve = makeCircleFalloff(circle(Falloff::outline, 0.5f, 0.34906585f));
  EXPECT_EQ(weight(*curve, 1), 1.0f);
  EXPECT_NEAR(weight(*curve, 0.9f), 0.0f, 1e-10);
  EXPECT_EQ(weight(*curve, 0.5f), 0.0f);
  // A tenth of the way in: 5 S(0.1) = 5 (0.01) (2.8) = 0.14.
  EXPECT_NEAR(weight(*curve, 0.91f), 0.14f, 1e-5);
  EXPECT_EQ(weight(*curve, 0.97f), 1.0f);
}

TEST_F(Falloffs, CosineRisesFromTheRimToItsShareOfTheCosine) {
  const float radius = 1.0471976f;  // cos r = 1/2
  const auto curve = makeCircleFalloff(circle(Falloff::circleCosine, 0.5f, radius));
  EXPECT_NEAR(weight(*curve, 1, 0, 0.5f), 0.0f, 1e-10);
  EXPECT_NEAR(weight(*curve, 0.5f, 0, 0.625f), 0.5f, 1e-6);
  EXPECT_EQ(weight(*curve, 0.5f, 0, 0.75f), 1.0f);
  EXPECT_EQ(weight(*curve, 0, 0, 1.0f), 1.0f);
}

TEST_F(Falloffs, BoxProductOfAmountZeroIsSolidToTheEdge) {
  // k = 10000
  const auto curve = makeRectFalloff(rect(Falloff::rectBoxProduct, 0));
  EXPECT_EQ(weight(*curve, 0.99f, 0.9f), 1.0f);
  EXPECT_NEAR(weight(*curve, 0.5f, 0.9999f), 0.5f, 1e-2);
  EXPECT_EQ(weight(*curve, 1, 0), 0.0f);
}

TEST_F(Falloffs, BoxEdgeBandHasTheSameAngleAlongBothAxes) {
  // Half-axes 0.6 and 0.3, amount 0.25: the band is 0.15 rad, a quarter of the first and half of the second.
  const auto curve = makeRectFalloff(rect(Falloff::rectBoxEdge, 0.25f));
  EXPECT_NEAR(weight(*curve, 0.875f, 0), 0.5f, 1e-6);
  EXPECT_NEAR(weight(*curve, 0, -0.75f), 0.5f, 1e-6);
  EXPECT_NEAR(weight(*curve, -0.875f, 0.75f), 0.25f, 1e-6);
  EXPECT_EQ(weight(*curve, 0.7f, 0.4f), 1.0f);
}

TEST_F(Falloffs, BoxGaussianFollowsItsDistance) {
  // 1 - (1 - 1/2)(1 - 1/2) = 3/4, amount 1/8: exp(-3/2); the bands are 1/8 and 1/4 wide.
  const auto curve = makeRectFalloff(rect(Falloff::rectBoxGaussian, 0.125f));
  EXPECT_NEAR(weight(*curve, 0.5f, -0.5f), std::exp(-1.5), 1e-6);
  EXPECT_EQ(weight(*curve, 1, 0), 0.0f);
}

TEST_F(Falloffs, FrameRunsAlongAllEdges) {
  // 20 degrees by 10: the rim is a tenth and a fifth.
  const auto curve = makeRectFalloff(rect(Falloff::outline, 0.5f, 0.34906585f, 0.17453293f));
  EXPECT_EQ(weight(*curve, 1, 0), 1.0f);
  EXPECT_EQ(weight(*curve, 0, -1), 1.0f);
  EXPECT_EQ(weight(*curve, 0.5f, 0.5f), 0.0f);
  EXPECT_NEAR(weight(*curve, -0.91f, 0), 0.14f, 1e-5);
  EXPECT_NEAR(weight(*curve, 0, 0.82f), 0.14f, 1e-5);
}

TEST_F(Falloffs, RadialQuadraticIsExactlyZeroInTheCorners) {
  for (const float amount : kAmounts) {
    const auto curve = makeRectFalloff(rect(Falloff::rectQuadratic, amount));
    EXPECT_EQ(weight(*curve, 1, 1), 0.0f);
    EXPECT_EQ(weight(*curve, -0.8f, 0.7f), 0.0f);
  }
  // a = -3 beyond 1 is negative, a = 1 would be positive: (1 - rho)^2.
  EXPECT_EQ(weight(RadialQuadraticFalloff(1, 2), 1.5f, 0), 0.0f);
}

TEST_F(Falloffs, SolidIsOne) { EXPECT_EQ(weight(*makeCircleFalloff(circle(Falloff::solid, 0)), 0.3f), 1.0f); }

TEST_F(Falloffs, AgreeWithDoublePrecisionOnCircles) {
  for (const Falloff kind : kCircleKinds) {
    for (const float amount : kAmounts) {
      if (kind == Falloff::circleGaussianEdge && amount < 0) continue;  // grows to e^8
      const CirclePinParams params = circle(kind, amount);
      const auto curve = makeCircleFalloff(params);
      for (float u = 0; u < 0.9985f; u += 0.0078125f) {
        const double cosAngle = std::cos(static_cast<double>(u) * 0.5);
        const auto cosine = static_cast<float>(cosAngle);
        // Steep curves multiply the rounding of their inputs.
        EXPECT_NEAR(weight(*curve, u, 0.25f, cosine), reference::falloff(params, u, cosine), 3e-6)
            << "kind " << static_cast<unsigned>(kind) << " amount " << amount << " u " << u;
      }
    }
  }
}

TEST_F(Falloffs, AgreeWithDoublePrecisionOnRectangles) {
  for (const Falloff kind : kRectKinds) {
    for (const float amount : kAmounts) {
      const RectPinParams params = rect(kind, amount);
      const auto curve = makeRectFalloff(params);
      for (float u = -0.984375f; u < 1; u += 0.0625f) {
        for (float v = -0.953125f; v < 1; v += 0.125f) {
          const auto cosine = static_cast<float>(std::cos(0.6 * u) * std::cos(0.3 * v));
          EXPECT_NEAR(weight(*curve, u, v, cosine), reference::falloff(params, u, v, cosine), 3e-6)
              << "kind " << static_cast<unsigned>(kind) << " amount " << amount << " at " << u << ", " << v;
        }
      }
    }
  }
}

TEST_F(Falloffs, OfTheOtherShapeDoNotExist) {
  for (unsigned kind = 0; kind < 600; ++kind) {
    const bool both = kind == 256 || kind == 512;
    EXPECT_EQ(makeCircleFalloff(circle(static_cast<Falloff>(kind), 0.5f)) != nullptr,
              both || (kind >= 16 && kind <= 20));
    EXPECT_EQ(makeRectFalloff(rect(static_cast<Falloff>(kind), 0.5f)) != nullptr,
              both || (kind >= 32 && kind <= 37));
  }
}

TEST_F(Falloffs, AreAlignedAndGivenBack) {
  {
    const auto curve = makeCircleFalloff(circle(Falloff::circleCosine, 0.5f));
    EXPECT_EQ(FakeHost::instance().lastAligned().second, 32u);
    EXPECT_EQ(FakeHost::instance().lastAligned().first, sizeof(CosineFalloff));
  }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(Falloffs, WithoutMemoryDoNotExist) {
  FakeHost::instance().failAllocation(1);
  EXPECT_EQ(makeCircleFalloff(circle(Falloff::circleCosine, 0.5f)), nullptr);
  FakeHost::instance().failAllocation(1);
  EXPECT_EQ(makeRectFalloff(rect(Falloff::rectBoxEdge, 0.5f)), nullptr);
}

TEST_F(Falloffs, TakeHostileParametersWithoutHarm) {
  for (const float amount : {kNaN, kInfinity, -kInfinity, 1e30f, -1e30f, 1e-40f}) {
    for (const float size : {0.0f, kNaN, kInfinity, 1e30f, -1.0f}) {
      for (const Falloff kind : kCircleKinds) {
        const auto curve = makeCircleFalloff(circle(kind, amount, size));
        ASSERT_NE(curve, nullptr);
        weight(*curve, 0.5f, 0.5f, 0.5f);
      }
      for (const Falloff kind : kRectKinds) {
        const auto curve = makeRectFalloff(rect(kind, amount, size, size));
        ASSERT_NE(curve, nullptr);
      }
    }
  }
}

/// A batch's weights are those of its blocks one by one, to the bit.
template <typename Curve>
void expectBatchEqualsBlocks(const Curve& curve) {
  BatchPlanes planes;
  PixelBatch batch = planes.batch();
  batch.blocks = 5;
  for (std::size_t i = 0; i < 40; ++i) {
    planes.u[i] = -1.2f + 0.06f * static_cast<float>(i);
    planes.v[i] = 1.1f - 0.05f * static_cast<float>(i);
    planes.cosAngle[i] = 1.0f - 0.02f * static_cast<float>(i);
    planes.weight[i] = 0.9f - 0.01f * static_cast<float>(i);
    planes.mask[i] = i % 3 == 0 ? 0 : 0xffffffffu;
  }
  float expected[40];
  for (std::size_t block = 0; block < 5; ++block) {
    OneBlock one{};
    for (std::size_t lane = 0; lane < 8; ++lane) {
      one.u[lane] = planes.u[8 * block + lane];
      one.v[lane] = planes.v[8 * block + lane];
      one.cosAngle[lane] = planes.cosAngle[8 * block + lane];
    }
    alignas(32) float out[8];
    evaluate(curve, out, one);
    for (std::size_t lane = 0; lane < 8; ++lane) {
      const std::size_t i = 8 * block + lane;
      expected[i] = (planes.mask[i] ? out[lane] : 0.0f) * planes.weight[i];
    }
  }
  curve.evaluate(batch);
  for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(planes.weight[i], expected[i]) << "pixel " << i;
}

TEST_F(Falloffs, GiveBatchesTheBitsOfTheirBlocks) {
  for (const Falloff kind : kCircleKinds) expectBatchEqualsBlocks(*makeCircleFalloff(circle(kind, 0.4f)));
  for (const Falloff kind : kRectKinds) expectBatchEqualsBlocks(*makeRectFalloff(rect(kind, 0.4f)));
}

TEST_F(Falloffs, AnAmountBelowZeroCountsAsZero) {
  for (const Falloff kind : kCircleKinds)
    for (const float u : {0.0f, 0.3f, 0.9f})
      EXPECT_EQ(weight(*makeCircleFalloff(circle(kind, -6)), u, 0.5f, 0.95f),
                weight(*makeCircleFalloff(circle(kind, 0)), u, 0.5f, 0.95f));
  for (const Falloff kind : kRectKinds)
    for (const float u : {0.0f, 0.3f, 0.9f})
      EXPECT_EQ(weight(*makeRectFalloff(rect(kind, -6)), u, 0.5f, 0.95f),
                weight(*makeRectFalloff(rect(kind, 0)), u, 0.5f, 0.95f));
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
