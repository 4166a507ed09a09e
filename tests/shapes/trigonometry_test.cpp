// The vector functions against long double over bit patterns of every exponent, and the bits they are made
// of.

#include "shapes/trigonometry.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "shapes/lanes.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr std::uint32_t kStride = 4099;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

const auto kSin = [](Float8 x) { return sin(x); };
const auto kCos = [](Float8 x) { return sinCos(x).cos; };
const auto kCosOnly = [](Float8 x) { return cos(x); };
const auto kArccos = [](Float8 x) { return arccos(x); };
const auto kArcsin = [](Float8 x) { return arcsin(x); };
const auto kArctan = [](Float8 x) { return arctan(x); };
const auto kAtan2 = [](Float8 y, Float8 x) { return atan2(y, x); };
const auto kExp = [](Float8 x) { return exp(x); };
const auto kSmoothstep = [](Float8 t) { return smoothstep(t); };

/// The largest |function - exact| over the bit patterns in [low, high]; not a number when any result is none.
template <typename Function, typename Exact>
long double largestError(float low, float high, const Function& function, const Exact& exact,
                         bool relative = false) {
  long double largest = 0;
  lanes::sweep(low, high, kStride, function, [&](float x, float y) {
    const long double expected = exact(static_cast<long double>(x));
    long double error = std::fabs(static_cast<long double>(y) - expected);
    if (relative && expected != 0) error /= std::fabs(expected);
    if (!(error <= largest)) largest = error;
  });
  return largest;
}

long double exactSin(long double x) { return std::sin(x); }
long double exactCos(long double x) { return std::cos(x); }
long double exactArccos(long double x) { return std::acos(x); }
long double exactArcsin(long double x) { return std::asin(x); }
long double exactArctan(long double x) { return std::atan(x); }
long double exactExp(long double x) { return std::exp(x); }

std::uint32_t bits(float x) { return std::bit_cast<std::uint32_t>(x); }

template <int n>
void expectBits(const float (&coefficients)[n], const std::uint32_t (&expected)[n]) {
  for (int i = 0; i < n; ++i) EXPECT_EQ(bits(coefficients[i]), expected[i]) << "coefficient " << i;
}

TEST(TrigonometryCoefficients, AreThoseOfThePublishedPictures) {
  expectBits(kCosCoefficients, {0xb48b634d, 0x37cfab9c, 0xbab60981, 0x3d2aaaa4, 0xbf000000, 0x3f800000});
  expectBits(kSinCoefficients, {0xb2d70013, 0x363938a8, 0xb9501096, 0x3c088898, 0xbe2aaaab, 0x3f800000});
  expectBits(kArccosCoefficients, {0xbb8d3753, 0x3c9df1b8, 0xbd37e81c, 0x3db3edac, 0xbe5ba881, 0x3fc90fd1});
  expectBits(kArctanCoefficients, {0xbb9918b7, 0x3cc6061b, 0xbd732a49, 0x3dcadb2a, 0xbe0f8549, 0x3e4c7b54,
                                   0xbeaaa8cf, 0x3f7ffffe});
  expectBits(kExpCoefficients, {0x39506967, 0x3ab743ce, 0x3c088908, 0x3d2aa9c1, 0x3e2aaaaa, 0x3f000000});
}

TEST(TrigonometryCoefficients, PiIsTheNearestFloat) {
  EXPECT_EQ(bits(kPi), 0x40490fdbu);
  EXPECT_EQ(bits(kHalfPi), 0x3fc90fdbu);
  EXPECT_EQ(bits(kTwoPi), 0x40c90fdbu);
}

TEST(SinCos, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(-kPi, kPi, kSin, exactSin), 1.9e-7L);
  EXPECT_LT(largestError(-kPi, kPi, kCos, exactCos), 1.9e-7L);
  EXPECT_LT(largestError(-kTwoPi, kTwoPi, kSin, exactSin), 2.6e-7L);
  EXPECT_LT(largestError(-kTwoPi, kTwoPi, kCos, exactCos), 2.6e-7L);
  EXPECT_LT(largestError(-20, 20, kSin, exactSin), 6.5e-7L);
  EXPECT_LT(largestError(-20, 20, kCos, exactCos), 6.5e-7L);
}

TEST(SinCos, ErrorGrowsInProportionBeyond) {
  EXPECT_LT(largestError(-1000, 1000, kSin, exactSin), 2.9e-5L);
  EXPECT_LT(largestError(-1000, 1000, kCos, exactCos), 2.9e-5L);
}

TEST(SinCos, TurnsThroughTheFourQuadrants) {
  EXPECT_EQ(lanes::at(0.0f, kSin), 0.0f);
  EXPECT_EQ(lanes::at(0.0f, kCos), 1.0f);
  EXPECT_EQ(lanes::at(kHalfPi, kSin), 1.0f);
  EXPECT_EQ(lanes::at(kHalfPi, kCos), 0.0f);
  EXPECT_EQ(lanes::at(kPi, kSin), 0.0f);
  EXPECT_EQ(lanes::at(kPi, kCos), -1.0f);
  EXPECT_EQ(lanes::at(-kHalfPi, kSin), -1.0f);
  EXPECT_EQ(lanes::at(-kHalfPi, kCos), 0.0f);
}

TEST(SinCos, KeepsSignsOfNegativeArguments) {
  EXPECT_NEAR(lanes::at(-0.5f, kSin), -0.479425539, 2e-7);
  EXPECT_NEAR(lanes::at(-0.5f, kCos), 0.877582562, 2e-7);
  EXPECT_NEAR(lanes::at(-2.5f, kSin), -0.598472144, 2e-7);
  EXPECT_NEAR(lanes::at(-2.5f, kCos), -0.801143616, 2e-7);
}

TEST(Cos, AloneGivesTheBitsOfTheJointEvaluation) {
  lanes::sweep(-1e6f, 1e6f, kStride, kCosOnly,
               [](float x, float y) { ASSERT_EQ(bits(y), bits(lanes::at(x, kCos))) << "at " << x; });
}

TEST(Arccos, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(-1, 1, kArccos, exactArccos), 1.4e-6L);
}

TEST(Arccos, IsExactAtItsEnds) {
  EXPECT_EQ(lanes::at(1.0f, kArccos), 0.0f);
  EXPECT_EQ(bits(lanes::at(-1.0f, kArccos)), 0x40490fdbu);
}

TEST(Arcsin, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(-1, 1, kArcsin, exactArcsin), 1.3e-6L);
}

TEST(Arcsin, IsOddToTheBit) {
  lanes::sweep(1e-30f, 1, kStride, kArcsin,
               [](float x, float y) { ASSERT_EQ(lanes::at(-x, kArcsin), -y) << "at " << x; });
}

TEST(Arctan, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(-kInfinity, kInfinity, kArctan, exactArctan), 2e-7L);
  EXPECT_LT(largestError(1e-37f, 1e38f, kArctan, exactArctan, true), 2.4e-7L);
}

TEST(Atan2, StaysWithinBoundAroundTheCircle) {
  long double largest = 0;
  for (const float radius : {1e-20f, 1.0f, 1e18f}) {
    for (int i = -50000; i <= 50000; ++i) {
      const double angle = 3.14159 * i / 50000;
      const auto y = static_cast<float>(radius * std::sin(angle));
      const auto x = static_cast<float>(radius * std::cos(angle));
      const long double exact = std::atan2(static_cast<long double>(y), static_cast<long double>(x));
      largest = std::max(largest, std::fabs(lanes::at(y, x, kAtan2) - exact));
    }
  }
  EXPECT_LT(largest, 3.6e-7L);
}

TEST(Atan2, OfTheOriginIsZero) {
  EXPECT_EQ(lanes::at(0.0f, 0.0f, kAtan2), 0.0f);
  EXPECT_EQ(lanes::at(-0.0f, -0.0f, kAtan2), 0.0f);
  EXPECT_EQ(lanes::at(0.0f, -0.0f, kAtan2), 0.0f);
}

TEST(Atan2, OfTheNegativeAxisIsPi) {
  EXPECT_EQ(bits(lanes::at(0.0f, -1.0f, kAtan2)), 0x40490fdbu);
  EXPECT_EQ(bits(lanes::at(-0.0f, -1.0f, kAtan2)), 0x40490fdbu);
}

TEST(Atan2, OfTheThirdQuadrantLiesBelowMinusHalfPi) {
  const float angle = lanes::at(-1.0f, -1.0f, kAtan2);
  EXPECT_NEAR(angle, -2.35619449, 4e-7);
  EXPECT_GT(lanes::at(-1e-6f, -1.0f, kAtan2), -3.1415930f);
  EXPECT_LT(lanes::at(-1e6f, -1.0f, kAtan2), -1.5707964f);
}

TEST(Atan2, OfTheVerticalAxisIsHalfPi) {
  EXPECT_EQ(bits(lanes::at(2.0f, 0.0f, kAtan2)), 0x3fc90fdbu);
  EXPECT_EQ(bits(lanes::at(-2.0f, 0.0f, kAtan2)), 0xbfc90fdbu);
}

TEST(Exp, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(-87.3f, 88.3f, kExp, exactExp, true), 1.2e-7L);
}

TEST(Exp, OfLargeNegativeArgumentsIsZero) {
  for (const float x : {-87.75f, -100.0f, -1e6f, -1e20f, -1e38f, -kInfinity}) {
    EXPECT_EQ(lanes::at(x, kExp), 0.0f) << x;
  }
}

TEST(Exp, ScalesByTheLargestFloatWhereThePowerOfTwoDoesNotFit) {
  // 88.5 / ln 2 rounds to 128: the result is exp(88.5 - 128 ln 2) (2 - 2^-23) 2^127.
  EXPECT_NEAR(lanes::at(88.5f, kExp) / 2.72308898e38, 1.0, 1e-6);
  // 200 is 289 ln 2 - 0.319…, and the mantissa's polynomial at that remainder is 0.727…
  EXPECT_NEAR(lanes::at(200.0f, kExp) / 3.4028235e38, std::exp(200 - 289 * std::log(2.0)), 1e-5);
}

TEST(Exp, OfZeroIsOne) { EXPECT_EQ(lanes::at(0.0f, kExp), 1.0f); }

TEST(Exp, KeepsWhatIsNotANumber) { EXPECT_TRUE(std::isnan(lanes::at(kNaN, kExp))); }

TEST(Smoothstep, StaysWithinBoundForEveryExponent) {
  EXPECT_LT(largestError(0, 1, kSmoothstep, [](long double t) { return t * t * (3 - 2 * t); }), 7.6e-8L);
}

TEST(Smoothstep, IsExactAtEndsAndMiddle) {
  EXPECT_EQ(lanes::at(0.0f, kSmoothstep), 0.0f);
  EXPECT_EQ(lanes::at(0.5f, kSmoothstep), 0.5f);
  EXPECT_EQ(lanes::at(1.0f, kSmoothstep), 1.0f);
}

TEST(Floor, TakesTheWholeNumberBelow) {
  const auto function = [](Float8 x) { return floor(x); };
  EXPECT_EQ(lanes::at(-0.25f, function), -1.0f);
  EXPECT_EQ(lanes::at(2.5f, function), 2.0f);
  EXPECT_EQ(lanes::at(3.5f, function), 3.0f);
  EXPECT_EQ(lanes::at(-2.0f, function), -2.0f);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
