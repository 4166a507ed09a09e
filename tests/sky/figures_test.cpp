// What the model must show: light, colour and their ratios, for clear and for hazy air, from noon to night.
// The figures were made by another program of the same model; 5 % covers the maps' sampling.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "sky/sky_map.h"

namespace orv::host {
namespace {

struct Figures {
  double elevation;
  double skyLux, sunLux;  // on the horizontal
  Rgb3 zenith, sunNormal;
  double tolerance = 0.05;
};

void expectNear(double value, double expected, double tolerance, const char* what) {
  EXPECT_NEAR(value, expected, tolerance * expected + 1e-3 * (expected == 0)) << what;
}

void expectNear(const Rgb3& value, const Rgb3& expected, double tolerance, const char* what) {
  expectNear(value.r, expected.r, tolerance, what);
  expectNear(value.g, expected.g, tolerance, what);
  expectNear(value.b, expected.b, tolerance, what);
}

class SkyFigures : public testing::TestWithParam<Figures> {};

TEST_P(SkyFigures, OfClearAir) {
  const Figures& f = GetParam();
  ReferenceSky sky;
  setSun(sky, 0, f.elevation);
  const Rgb3 sun = discLight(sky, 512, 256);
  sky.sunIntensity = 0;
  const SkyMap map = render(sky, 512, 256);
  expectNear(5000 * map.onPlane().luminance(), f.skyLux, f.tolerance, "sky");
  expectNear(5000 * sun.luminance() * std::max(0.0, std::sin(f.elevation * kPiTest / 180)), f.sunLux,
             f.tolerance, "sun on the horizontal");
  expectNear(map.rowMean(0), f.zenith, f.tolerance, "zenith");
  expectNear(sun, f.sunNormal, f.tolerance, "sun");
}

INSTANTIATE_TEST_SUITE_P(Elevations, SkyFigures,
                         testing::Values(Figures{60, 21950, 84370, {.859, 1.033, 1.489}, {22.9, 18.9, 15.1}},
                                         Figures{30, 16970, 38830, {.238, .346, .626}, {19.2, 15.0, 10.4}},
                                         Figures{10, 8000, 5160, {.114, .174, .301}, {9.02, 5.41, 2.11}},
                                         Figures{2, 1970, 19, {.0433, .0623, .0977}, {.307, .060, 0}},
                                         Figures{-2, 275, 0, {.00775, .0105, .0179}, {}},
                                         Figures{-6, 5.3, 0, {1.05e-4, 1.82e-4, 4.01e-4}, {}},
                                         Figures{-10, .062, 0, {8.9e-7, 2.1e-6, 5.9e-6}, {}, 0.2}),
                         [](const auto& test) {
                           const double e = test.param.elevation;
                           return (e < 0 ? "Minus" : "Plus") + std::to_string(static_cast<int>(std::abs(e)));
                         });

/// Luminance one degree up, 90 degrees from the sun's azimuth, over the zenith's.
double horizonOverZenith(double elevation) {
  ReferenceSky sky;
  setSun(sky, 0, elevation);
  sky.sunIntensity = 0;
  const SkyMap map = render(sky, 720, 360);
  // One degree up lies between the rows at 1.25 and 0.75 degrees; azimuth 90 at column 539.5.
  const double low = 0.5 * (map.pixel(540, 177).luminance() + map.pixel(540, 178).luminance());
  return low / map.rowMean(0).luminance();
}

TEST(SkyRatios, TheHorizonIsBrighterThanTheZenith) {
  EXPECT_NEAR(horizonOverZenith(60), 1.4, 0.07);
  EXPECT_NEAR(horizonOverZenith(30), 2.9, 0.15);
  EXPECT_NEAR(horizonOverZenith(10), 2.6, 0.13);
}

struct Light {
  double sunOverSky, sunRedOverBlue, zenithBlueOverRed;
};

Light lightOf(double elevation, float turbidity) {
  ReferenceSky sky;
  setSun(sky, 0, elevation);
  sky.turbidity = turbidity;
  const Rgb3 sun = discLight(sky, 256, 128);
  sky.sunIntensity = 0;
  const SkyMap map = render(sky, 256, 128);
  const Rgb3 zenith = map.rowMean(0);
  return {sun.luminance() * std::sin(elevation * kPiTest / 180) / map.onPlane().luminance(), sun.r / sun.b,
          zenith.b / zenith.r};
}

TEST(SkyRatios, SunOverSkyFallsAndTheSunReddensAsItSinks) {
  const Light high = lightOf(60, 2.5f), middle = lightOf(30, 2.5f), low = lightOf(10, 2.5f);
  EXPECT_NEAR(high.sunOverSky, 3.84, 0.19);
  EXPECT_NEAR(middle.sunOverSky, 2.29, 0.11);
  EXPECT_NEAR(low.sunOverSky, 0.65, 0.03);
  EXPECT_NEAR(high.sunRedOverBlue, 1.5, 0.08);
  EXPECT_NEAR(middle.sunRedOverBlue, 1.8, 0.09);
  EXPECT_NEAR(low.sunRedOverBlue, 4.3, 0.2);
}

TEST(SkyRatios, HazeTurnsSunlightIntoWhiteSkylight) {
  const Light pure = lightOf(60, 1), hazy = lightOf(60, 7);
  EXPECT_NEAR(pure.sunOverSky, 13.3, 0.67);
  EXPECT_NEAR(pure.zenithBlueOverRed, 4.0, 0.2);
  EXPECT_NEAR(hazy.sunOverSky, 1.05, 0.05);
  EXPECT_NEAR(hazy.zenithBlueOverRed, 1.18, 0.06);
}

double twilightBlueOverRed(float ozone) {
  ReferenceSky sky;
  setSun(sky, 0, -4);
  sky.ozone = ozone;
  const Rgb3 light = render(sky, 256, 128).onPlane();
  return light.b / light.r;
}

TEST(SkyRatios, TheBlueHourIsOzones) {
  EXPECT_NEAR(twilightBlueOverRed(1), 2.25, 0.11);
  EXPECT_NEAR(twilightBlueOverRed(0), 0.78, 0.04);
}

// American Meteorological Society, Glossary of Meteorology: 585 to 410 lx at sunset, 3.5 to 2 lx at the end
// of civil twilight. The second is met within a factor.
TEST(SkyRatios, TwilightIsAsBrightAsMeasured) {
  ReferenceSky sky;
  setSun(sky, 0, -0.833);
  const double sunset = 5000 * render(sky, 256, 128).onPlane().luminance();
  EXPECT_GT(sunset, 410);
  EXPECT_LT(sunset, 640);
  setSun(sky, 0, -6);
  const double civil = 5000 * render(sky, 256, 128).onPlane().luminance();
  EXPECT_GT(civil, 2);
  EXPECT_LT(civil, 2 * 3.5);
}

}  // namespace
}  // namespace orv::host
