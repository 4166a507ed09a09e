#include "scene/tone_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace orv::scene {
namespace {

constexpr hdri::Rgb kOrange = {1.0f, 0.45f, 0.08f};

hdri::Rgb exposed(const hdri::Rgb& pixel, double stops) {
  const auto gain = static_cast<float>(std::exp2(stops));
  return {pixel.r * gain, pixel.g * gain, pixel.b * gain};
}

/// Degrees, of a colour whose red is largest and blue smallest.
double hue(const hdri::Rgb& pixel) {
  return 60 * static_cast<double>(pixel.g - pixel.b) / static_cast<double>(pixel.r - pixel.b);
}

TEST(ToneCurve, KeepsLightUpToFourFifths) {
  const hdri::Rgb pixel = {0.8f, 0.18f, 0.001f};
  EXPECT_EQ(toneCurve(pixel), pixel);
}

TEST(ToneCurve, KnownValues) {
  // Grey 1.6: 1 - 0.04 / (1.6 + 0.2 - 0.8) = 0.96, and nothing but grey to be mixed with it.
  const hdri::Rgb grey = toneCurve({1.6f, 1.6f, 1.6f});
  EXPECT_NEAR(grey.r, 0.96, 1e-6);
  EXPECT_NEAR(grey.g, 0.96, 1e-6);
  EXPECT_NEAR(grey.b, 0.96, 1e-6);
  // Red 1.6, green 0.8: scaled to 0.96 and 0.48, of white 1 - 1 / (0.15 * 0.64 + 1) = 0.0875912.
  const hdri::Rgb orange = toneCurve({1.6f, 0.8f, 0.0f});
  EXPECT_NEAR(orange.r, 0.96, 1e-6);
  EXPECT_NEAR(orange.g, 0.48 + 0.48 * 0.0875912, 1e-6);
  EXPECT_NEAR(orange.b, 0.96 * 0.0875912, 1e-6);
}

TEST(ToneCurve, KeepsTheHueOfOrangeUpToFourStops) {
  for (double stops = -6; stops <= 4; stops += 0.25)
    EXPECT_NEAR(hue(toneCurve(exposed(kOrange, stops))), hue(kOrange), 0.01) << stops;
}

TEST(ToneCurve, FadesOrangeToWhiteWithoutAStep) {
  double before = 1;
  for (double stops = -6; stops <= 12; stops += 0.01) {
    const hdri::Rgb shown = toneCurve(exposed(kOrange, stops));
    const double saturation = 1 - static_cast<double>(shown.b / shown.r);
    EXPECT_LE(saturation, before + 1e-6) << stops;
    EXPECT_LT(before - saturation, 0.08) << stops;
    before = saturation;
  }
  EXPECT_LT(before, 0.01);
}

TEST(ToneCurve, GrowsWithTheLight) {
  float before = -1;
  for (double stops = -12; stops <= 12; stops += 0.01) {
    const float shown = toneCurve(exposed({1, 1, 1}, stops)).r;
    EXPECT_GT(shown, before) << stops;
    before = shown;
  }
  EXPECT_LE(before, 1.0f);
}

TEST(ToneCurve, HoldsAtTheEnds) {
  constexpr float kInfinite = std::numeric_limits<float>::infinity();
  const hdri::Rgb white = toneCurve({kInfinite, std::numeric_limits<float>::max(), 1e6f});
  EXPECT_NEAR(white.r, 1, 1e-3);
  EXPECT_NEAR(white.b, 1, 1e-3);
  EXPECT_EQ(toneCurve({-1.0f, std::numeric_limits<float>::quiet_NaN(), -kInfinite}), (hdri::Rgb{0, 0, 0}));
}

TEST(Encoded, IsTheCurveOfSrgb) {
  EXPECT_EQ(encoded(0.0f), 0.0f);
  EXPECT_NEAR(encoded(0.002f), 0.02584, 1e-6);
  // 1.055 * 0.18^(1 / 2.4) - 0.055
  EXPECT_NEAR(encoded(0.18f), 0.461356, 1e-5);
  EXPECT_NEAR(encoded(1.0f), 1, 1e-6);
}

TEST(Dithered, BlackAndWhiteAreEven) {
  for (std::size_t i = 0; i < 64; ++i) {
    EXPECT_EQ(dithered(0.0f, i % 8, i / 8), 0);
    EXPECT_EQ(dithered(1.0f, i % 8, i / 8), 255);
    EXPECT_EQ(dithered(100.0f / 255.0f, i % 8, i / 8), 100);
  }
}

TEST(Dithered, HasZeroMeanOverATileAndStaysWithinAStep) {
  for (double value = 0; value <= 255; value += 0.0625 / 3) {
    double sum = 0;
    for (std::size_t i = 0; i < 64; ++i) {
      const double byte = dithered(static_cast<float>(value / 255), 8 + i % 8, i / 8);
      EXPECT_LT(std::abs(byte - value), 1) << value;
      sum += byte;
    }
    // 64 thresholds: within half of one of their steps, and float's rounding.
    EXPECT_NEAR(sum / 64, value, 0.5 / 64 + 1e-4) << value;
  }
}

TEST(ToneMap, ARampHasNoBands) {
  // 24 steps of 8 bits over 2048 columns.
  const int width = 2048;
  hdri::EnvImage map(width, 8);
  const auto light = [](int x) { return 0.05 + 0.02 * x / width; };
  for (int i = 0; i < width * 8; ++i) {
    const auto value = static_cast<float>(light(i % width));
    map.pixels[static_cast<std::size_t>(i)] = {value, value, value};
  }
  const std::vector<std::uint8_t> bytes = toneMap(map, 1);
  for (int tile = 0; tile < width; tile += 8) {
    double shown = 0, exact = 0;
    for (int i = 0; i < 64; ++i) {
      const int x = tile + i % 8;
      shown += bytes[static_cast<std::size_t>(3 * (i / 8 * width + x))];
      exact += 255 * (1.055 * std::pow(2 * light(x), 1 / 2.4) - 0.055);
    }
    ASSERT_NEAR(shown / 64, exact / 64, 0.1) << tile;
  }
}

TEST(ToneMap, GreysStayGrey) {
  hdri::EnvImage map(64, 64);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    const float value = static_cast<float>(i) / 2048;
    map.pixels[i] = {value, value, value};
  }
  const auto bytes = toneMap(map, 0);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    ASSERT_EQ(bytes[i], bytes[i + 1]);
    ASSERT_EQ(bytes[i], bytes[i + 2]);
  }
}

TEST(ToneMap, AStopDoublesTheLight) {
  hdri::EnvImage dark(1, 1), bright(1, 1);
  dark.pixels[0] = {0.05f, 0.1f, 0.2f};
  bright.pixels[0] = {0.1f, 0.2f, 0.4f};
  EXPECT_EQ(toneMap(dark, 1), toneMap(bright, 0));
}

}  // namespace
}  // namespace orv::scene
