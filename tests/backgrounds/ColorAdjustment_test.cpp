#include "backgrounds/ColorAdjustment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace orv::hdri::blockedAVX2 {
namespace {

using Color = std::array<double, 3>;

/// The adjustment in double precision, from its definition and the values it sanitises.
Color exact(Color c, const Adjustments& a) {
  const double brightness = a.brightness, gamma = a.gamma > 0 ? a.gamma : 1.0;
  const double shift = std::clamp<double>(a.hueShift, 0, 1), s = std::clamp<double>(a.saturation, -1, 1);
  const double tolerance = 1e-5;
  if (std::abs(s) > tolerance) {
    const double m = std::max({c[0], c[1], c[2]});
    for (double& x : c) x = std::max(x - (m - x) * s, 0.0);
  }
  if (shift > tolerance) {
    const auto [r, g, b] = c;
    const std::array<double, 4> p =
        g < b ? std::array<double, 4>{b, g, -1.0, 2.0 / 3.0} : std::array<double, 4>{g, b, 0.0, -1.0 / 3.0};
    const std::array<double, 4> q =
        r < p[0] ? std::array<double, 4>{p[0], p[1], p[3], r} : std::array<double, 4>{r, p[1], p[2], p[0]};
    const double chroma = q[0] - std::min(q[3], q[1]), value = q[0], sat = chroma / (value + 1e-20);
    double h = std::abs((q[3] - q[1]) / (6 * chroma + 1e-20) + q[2]) + shift;
    if (h > 1) h -= 1;
    const auto clamp01 = [](double x) { return std::clamp(x, 0.0, 1.0); };
    c = {((clamp01(std::abs(6 * h - 3) - 1) - 1) * sat + 1) * value,
         ((clamp01(2 - std::abs(6 * h - 2)) - 1) * sat + 1) * value,
         ((clamp01(2 - std::abs(6 * h - 4)) - 1) * sat + 1) * value};
  }
  const double tint[3] = {a.tintRed, a.tintGreen, a.tintBlue};
  for (std::size_t i = 0; i < 3; ++i) c[i] *= brightness * tint[i];
  if (std::abs(1 - gamma) > tolerance)
    for (double& x : c) x = x > 0 ? std::pow(x, 1 / gamma) : 0.0;
  return c;
}

Color applied(const Color& c, const Adjustments& a) {
  Block block;
  for (int lane = 0; lane < 8; ++lane) {
    block.r[lane] = static_cast<float>(c[0]);
    block.g[lane] = static_cast<float>(c[1]);
    block.b[lane] = static_cast<float>(c[2]);
  }
  ColorAdjustment(a).apply(&block, 1);
  for (int lane = 1; lane < 8; ++lane) EXPECT_EQ(block.r[lane], block.r[0]);
  return {block.r[3], block.g[3], block.b[3]};
}

/// Colours over the range of radiance, with equal, zero and dominating channels.
std::vector<Color> colors() {
  const float levels[] = {0.0f, 1e-4f, 0.018f, 0.2f, 0.5f, 0.9f, 1.0f, 3.7f, 250.0f, 65504.0f};
  std::vector<Color> out;
  for (float r : levels)
    for (float g : levels)
      for (float b : levels) out.push_back({r, g, b});
  return out;
}

void expectClose(const Adjustments& a, double tolerance) {
  for (const Color& c : colors()) {
    const Color want = exact(c, a), got = applied(c, a);
    const double largest = std::max({want[0], want[1], want[2]});
    for (std::size_t i = 0; i < 3; ++i)
      ASSERT_NEAR(got[i], want[i], tolerance * largest)
          << "channel " << i << " of " << c[0] << ' ' << c[1] << ' ' << c[2];
  }
}

TEST(ColorAdjustment, TheProductOfBrightnessAndTintDecidesWhetherToScale) {
  // 1.000009 squared is 1.000018; 0.999995 times 1.000014 is 1.000009.
  EXPECT_TRUE(ColorAdjustment(Adjustments{.brightness = 1.000009f, .tintGreen = 1.000009f}).scaleOn());
  EXPECT_FALSE(ColorAdjustment(
                   Adjustments{.brightness = 0.999995f, .tintRed = 1.000014f, .tintGreen = 1, .tintBlue = 1})
                   .scaleOn());
}

TEST(ColorAdjustment, ABrightnessThatTheTintUndoesIsAScaleStill) {
  EXPECT_TRUE(
      ColorAdjustment({.brightness = 2, .tintRed = 0.5f, .tintGreen = 0.5f, .tintBlue = 0.5f}).scaleOn());
}

TEST(ColorAdjustment, AScaleThatOverflowsGivesTheLargestFiniteFloat) {
  constexpr float kMost = std::numeric_limits<float>::max();
  Block block{};
  for (float& x : block.r) x = 1e30f;
  for (float& x : block.g) x = 0;
  ColorAdjustment({.brightness = 1e30f, .tintRed = 1, .tintGreen = 1e30f, .tintBlue = 1}).apply(&block, 1);
  EXPECT_EQ(block.r[0], kMost);
  EXPECT_EQ(block.g[0], 0.0f);
  for (float& x : block.r) x = 1e30f;
  ColorAdjustment({.brightness = -1e30f}).apply(&block, 1);
  EXPECT_EQ(block.r[0], -kMost);
}

TEST(ColorAdjustment, NeutralValuesSwitchEveryStepOff) {
  const ColorAdjustment adjustment{Adjustments{}};
  EXPECT_FALSE(adjustment.active());
}

TEST(ColorAdjustment, ValuesWithin1e5OfNeutralCountAsNeutral) {
  EXPECT_FALSE(
      ColorAdjustment(
          Adjustments{.brightness = 1.000009f, .gamma = 0.999992f, .hueShift = 9e-6f, .saturation = -9e-6f})
          .active());
  EXPECT_FALSE(ColorAdjustment(Adjustments{.tintRed = 1.000009f}).active());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.brightness = 1.000011f}).scaleOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.hueShift = 1.1e-5f}).hueOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.brightness = 1.00002f}).scaleOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.gamma = 1.00002f}).gammaOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.hueShift = 2e-5f}).hueOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.saturation = -2e-5f}).saturationOn());
  EXPECT_TRUE(ColorAdjustment(Adjustments{.tintBlue = 0.9999f}).scaleOn());
}

TEST(ColorAdjustment, GammaNotAboveZeroCountsAsOne) {
  for (float gamma : {0.0f, -2.0f, std::numeric_limits<float>::quiet_NaN()})
    EXPECT_FALSE(ColorAdjustment(Adjustments{.gamma = gamma}).active()) << gamma;
}

TEST(ColorAdjustment, ASaturationThatIsNotANumberCountsAsNone) {
  EXPECT_FALSE(ColorAdjustment(Adjustments{.saturation = std::numeric_limits<float>::quiet_NaN()}).active());
}

TEST(ColorAdjustment, ANegativeHueShiftCountsAsNone) {
  EXPECT_FALSE(ColorAdjustment(Adjustments{.hueShift = -0.3f}).active());
}

TEST(ColorAdjustment, AFullTurnOfHueIsOnAndChangesNothing) {
  EXPECT_TRUE(ColorAdjustment(Adjustments{.hueShift = 1.0f}).hueOn());
  for (const Color& c : colors()) {
    const Color got = applied(c, Adjustments{.hueShift = 5.0f});
    const double largest = std::max({c[0], c[1], c[2]});
    for (std::size_t i = 0; i < 3; ++i) ASSERT_NEAR(got[i], c[i], 2e-6 * largest);
  }
}

TEST(ColorAdjustment, SaturationMinusOneRaisesAllToTheLargestChannel) {
  EXPECT_EQ(applied({0.2, 0.5, 1.0}, {.saturation = -1}), (Color{1, 1, 1}));
}

TEST(ColorAdjustment, SaturationOnePushesAwayFromTheLargestAndStopsAtZero) {
  EXPECT_EQ(applied({0.2, 0.5, 1.0}, {.saturation = 1}), (Color{0, 0, 1}));
}

TEST(ColorAdjustment, SaturationBeyondItsRangeCountsAsItsEnd) {
  EXPECT_EQ(applied({0.2, 0.5, 1.0}, {.saturation = -3}), (Color{1, 1, 1}));
  EXPECT_EQ(applied({0.75, 0.5, 1.0}, {.saturation = 3}), (Color{0.5, 0, 1}));
}

TEST(ColorAdjustment, BlackStaysBlackThroughEveryStep) {
  const Adjustments all{
      .brightness = 2, .gamma = 2.2f, .hueShift = 0.3f, .saturation = 0.5f, .tintRed = 0.5f};
  EXPECT_EQ(applied({0, 0, 0}, all), (Color{0, 0, 0}));
}

TEST(ColorAdjustment, AThirdOfATurnTakesRedToGreen) {
  const Color got = applied({1, 0, 0}, {.hueShift = 1.0f / 3.0f});
  EXPECT_NEAR(got[0], 0, 1e-6);
  EXPECT_NEAR(got[1], 1, 1e-6);
  EXPECT_NEAR(got[2], 0, 1e-6);
}

TEST(ColorAdjustment, BrightnessScalesTheTint) {
  EXPECT_EQ(applied({1, 2, 4}, {.brightness = 2, .tintRed = 0.5f, .tintGreen = 1, .tintBlue = 0.25f}),
            (Color{1, 4, 2}));
}

TEST(ColorAdjustment, GammaTwoIsTheSquareRoot) {
  const Color got = applied({4, 9, 0.25}, {.gamma = 2});
  EXPECT_NEAR(got[0], 2, 1e-6);
  EXPECT_NEAR(got[1], 3, 1e-6);
  EXPECT_NEAR(got[2], 0.5, 1e-6);
}

TEST(ColorAdjustment, SaturationMatchesDoublePrecision) {
  for (float s : {-1.0f, -0.4f, 0.3f, 1.0f}) expectClose({.saturation = s}, 2e-6);
}

TEST(ColorAdjustment, HueMatchesDoublePrecision) {
  for (float h : {0.05f, 0.25f, 0.5f, 0.77f, 1.0f}) expectClose({.hueShift = h}, 2e-6);
}

TEST(ColorAdjustment, BrightnessAndTintMatchDoublePrecision) {
  expectClose({.brightness = 0.37f, .tintRed = 1.1f, .tintGreen = 0.9f, .tintBlue = 0.3f}, 2e-6);
}

TEST(ColorAdjustment, GammaMatchesDoublePrecision) {
  for (float gamma : {0.2f, 0.45f, 0.9f, 1.3f, 2.2f, 5.0f}) expectClose({.gamma = gamma}, 5e-6);
}

TEST(ColorAdjustment, AllStepsTogetherMatchDoublePrecision) {
  expectClose({.brightness = 1.7f,
               .gamma = 1.4f,
               .hueShift = 0.13f,
               .saturation = 0.25f,
               .tintRed = 1.2f,
               .tintGreen = 0.8f,
               .tintBlue = 1.05f},
              5e-6);
}

TEST(ColorAdjustment, ManyBlocksAreAdjustedAsEachAlone) {
  const ColorAdjustment adjustment(
      {.brightness = 1.5f, .gamma = 1.8f, .hueShift = 0.4f, .saturation = -0.2f});
  std::vector<Block> together(37);
  for (std::size_t i = 0; i < together.size(); ++i)
    for (int lane = 0; lane < 8; ++lane) {
      together[i].r[lane] = static_cast<float>(i) * 0.3f;
      together[i].g[lane] = static_cast<float>(lane) * 0.7f;
      together[i].b[lane] = 1.0f / static_cast<float>(i + 1);
    }
  std::vector<Block> alone = together;
  adjustment.apply(together.data(), together.size());
  for (Block& block : alone) adjustment.apply(&block, 1);
  for (std::size_t i = 0; i < alone.size(); ++i)
    for (int lane = 0; lane < 8; ++lane) {
      EXPECT_EQ(together[i].r[lane], alone[i].r[lane]);
      EXPECT_EQ(together[i].g[lane], alone[i].g[lane]);
      EXPECT_EQ(together[i].b[lane], alone[i].b[lane]);
    }
}

float powerOf(float c, float exponent) {
  alignas(32) float out[8];
  store(out, power(splat(c), splat(exponent)));
  return out[0];
}

TEST(Power, StaysWithinItsBoundForEveryExponentOfTheBase) {
  double worst = 0;
  for (float y : {0.05f, 0.2f, 1.0f / 2.2f, 0.8f, 1.0f, 2.2f, 5.0f}) {
    for (std::uint32_t bits = 0x00800000u; bits < 0x7f800000u; bits += 104729u) {
      const float c = std::bit_cast<float>(bits);
      const long double want = std::pow(static_cast<long double>(c), static_cast<long double>(y));
      if (want < std::numeric_limits<float>::min() || want > std::numeric_limits<float>::max()) continue;
      const double error = static_cast<double>(std::abs(powerOf(c, y) - want) / want);
      ASSERT_LT(error, 2e-7 + 6e-8 * static_cast<double>(y)) << c << " ^ " << y;
      worst = std::max(worst, error);
    }
  }
  RecordProperty("worst", std::to_string(worst));
}

TEST(Power, OfZeroNegativeAndNaNIsZero) {
  for (float c :
       {0.0f, -0.0f, -3.0f, -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()})
    EXPECT_EQ(powerOf(c, 0.45f), 0.0f) << c;
}

TEST(Power, OfSubnormalsIsZero) {
  EXPECT_EQ(powerOf(1e-40f, 0.5f), 0.0f);
  EXPECT_NEAR(powerOf(1.2e-38f, 0.5f), std::sqrt(1.2e-38), 1e-25);
}

TEST(Power, NearTheLargestFloatIsRight) {
  EXPECT_NEAR(powerOf(1.8e19f, 2.0f) / 3.24e38, 1.0, 1e-6);
  EXPECT_NEAR(powerOf(1.2e19f, 2.0f) / 1.44e38, 1.0, 1e-6);
}

TEST(Power, OutOfRangeIsTheLargestFiniteFloatOrZero) {
  EXPECT_EQ(powerOf(1e30f, 100.0f), std::numeric_limits<float>::max());
  EXPECT_EQ(powerOf(1e-30f, 100.0f), 0.0f);
  EXPECT_EQ(powerOf(2.0f, 1e30f), std::numeric_limits<float>::max());
  EXPECT_EQ(powerOf(0.5f, 1e30f), 0.0f);
  EXPECT_TRUE(std::isfinite(powerOf(std::numeric_limits<float>::infinity(), 0.5f)));
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
