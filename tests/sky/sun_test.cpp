// The sun's place and disc.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sky/sky_map.h"

namespace orv::host {
namespace {

constexpr double kDegree = kPiTest / 180;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(SkySun, LightTravelsFromTheSun) {
  const struct {
    double azimuth, elevation;
    double direction[3];
  } cases[] = {{0, 0, {-1, 0, 0}},
               {90, 0, {0, 0, 1}},
               {0, 90, {0, -1, 0}},
               {-120, 35, {0.4096, -0.5736, -0.7094}},
               {-120, 35, {4096, -5736, -7094}}};
  for (const auto& c : cases) {
    ReferenceSky sky;
    sky.set_sun_direction(c.direction);
    EXPECT_NEAR(sky.sun().azimuth, c.azimuth * kDegree, 1e-4);
    EXPECT_NEAR(sky.sun().elevation, c.elevation * kDegree, 1e-4);
  }
}

/// Centre of the light that the disc adds, in columns from column `around`, and in rows.
struct Centroid {
  double column, row;
};

Centroid centroidOf(ReferenceSky& sky, std::uint32_t width, std::uint32_t height) {
  const SkyMap with = render(sky, width, height);
  sky.sunIntensity = 0;
  const SkyMap without = render(sky, width, height);
  sky.sunIntensity = 1;
  double light = 0, x = 0, y = 0;
  for (std::uint32_t row = 0; row < height / 2; ++row) {
    for (std::uint32_t column = 0; column < width; ++column) {
      const double l = (with.pixel(column, row).g - without.pixel(column, row).g) * with.solidAngle(row);
      light += l;
      x += l * column;
      y += l * row;
    }
  }
  return {x / light, y / light};
}

TEST(SkySun, TheDiscLiesOnItsPixels) {
  const struct {
    double azimuth, elevation, column, row;
  } cases[] = {{0, 5, 1023.5, 483.06}, {90, 60, 1535.5, 170.17}, {-120, 35, 340.83, 312.39}};
  for (const auto& c : cases) {
    ReferenceSky sky;
    setSun(sky, c.azimuth, c.elevation);
    const Centroid centroid = centroidOf(sky, 2048, 1024);
    // 0.01 degrees are 0.057 pixels. Low down the lower edge is dimmer, which lifts the centre of light.
    EXPECT_NEAR(centroid.column, c.column, 0.057);
    EXPECT_NEAR(centroid.row, c.row, c.elevation < 10 ? 0.08 : 0.057);
  }
}

TEST(SkySun, InSmallMapsTheDiscIsWithinAPixel) {
  for (const std::uint32_t width : {16u, 33u, 64u, 250u}) {
    const std::uint32_t height = width / 2;
    ReferenceSky sky;
    setSun(sky, 50, 40);
    const Centroid centroid = centroidOf(sky, width, height);
    EXPECT_NEAR(centroid.column, (50.0 / 360 + 0.5) * width - 0.5, 1) << width;
    EXPECT_NEAR(centroid.row, (0.5 - 40.0 / 180) * height - 0.5, 1) << width;
  }
}

TEST(SkySun, ADiscOnTheSeamIsWhole) {
  ReferenceSky middle, seam;
  setSun(middle, 0, 30);
  setSun(seam, 180, 30);
  const Rgb3 expected = discLight(middle, 512, 256), found = discLight(seam, 512, 256);
  EXPECT_NEAR(found.g, expected.g, 1e-3 * expected.g);
  const SkyMap map = render(seam, 512, 256);
  const std::uint32_t row = 85;
  EXPECT_NEAR(map.pixel(0, row).g, map.pixel(511, row).g, 1e-3 * map.pixel(0, row).g);
  EXPECT_GT(map.pixel(0, row).g, 1e3);
}

class DiscLight : public testing::TestWithParam<double> {};

TEST_P(DiscLight, DoesNotDependOnTheMapsSize) {
  ReferenceSky sky;
  setSun(sky, 20, GetParam());
  const Rgb3 expected = discLight(sky, 1024, 512);
  for (const std::uint32_t width : {16u, 64u, 256u, 2048u}) {
    const Rgb3 found = discLight(sky, width, width / 2);
    EXPECT_NEAR(found.r, expected.r, 1e-3 * expected.r) << width;
    EXPECT_NEAR(found.g, expected.g, 1e-3 * expected.g) << width;
    EXPECT_NEAR(found.b, expected.b, 1e-3 * expected.b) << width;
  }
}

TEST_P(DiscLight, HardlyDependsOnTheDiscsSize) {
  ReferenceSky sky;
  setSun(sky, 20, GetParam());
  const Rgb3 expected = discLight(sky, 512, 256);
  sky.sunSize = 4;
  const Rgb3 found = discLight(sky, 512, 256);
  EXPECT_NEAR(found.r, expected.r, 1e-2 * expected.r);
  EXPECT_NEAR(found.g, expected.g, 1e-2 * expected.g);
  EXPECT_NEAR(found.b, expected.b, 1e-2 * expected.b);
}

INSTANTIATE_TEST_SUITE_P(Elevations, DiscLight, testing::Values(10.0, 30.0, 60.0, 89.9));

TEST(SkySun, ALargeMapHasTheSameDiscLight) {
  ReferenceSky sky;
  setSun(sky, 20, 60);
  const Rgb3 small = discLight(sky, 64, 32), large = discLight(sky, 4096, 2048);
  EXPECT_NEAR(large.r, small.r, 1e-3 * small.r);
  EXPECT_NEAR(large.g, small.g, 1e-3 * small.g);
  EXPECT_NEAR(large.b, small.b, 1e-3 * small.b);
}

// At 60 degrees the mean of green is 2.78e5 and the centre 3.44e5; a disc of 8 times the diameter is 64 times
// as dim.
TEST(SkySun, TheDiscIsBrightestInItsMiddle) {
  ReferenceSky sky;
  setSun(sky, 0, 60);
  sky.sunSize = 8;
  const SkyMap map = render(sky, 2048, 1024);
  const double centre = map.pixel(1023, 170).g;
  EXPECT_NEAR(centre, 3.44e5 / 64, 0.05 * 3.44e5 / 64);
  // Two degrees down, at 0.94 of the radius, the surface is seen under a cosine of 0.35: 0.35^0.5 of it.
  const double limb = map.pixel(1023, 181).g;
  EXPECT_NEAR(limb / centre, 0.6, 0.06);
  EXPECT_LT(map.pixel(1023, 184).g, 50);
}

TEST(SkySun, TheDiscStopsAtTheHorizon) {
  ReferenceSky sky;
  setSun(sky, 0, 0.5);
  sky.sunSize = 20;
  const SkyMap with = render(sky, 1024, 512);
  sky.sunIntensity = 0;
  const SkyMap without = render(sky, 1024, 512);
  EXPECT_GT(with.pixel(512, 252).r, without.pixel(512, 252).r + 1e-3);
  // The disc's radiance is some 10; below the horizon only the haze glows.
  EXPECT_GT(with.pixel(512, 250).r, 1);
  EXPECT_LT(with.pixel(512, 260).r, 0.1);
}

TEST(SkySun, FollowsPlaceAndTime) {
  ReferenceSky sky;
  sky.settingsGiven = 1;
  // The defaults: compass 120.878, 57.194 up.
  EXPECT_NEAR(sky.sun().azimuth, -59.122 * kDegree, 1e-4);
  EXPECT_NEAR(sky.sun().elevation, 57.194 * kDegree, 1e-4);
  sky.northOffset = 45;
  EXPECT_NEAR(sky.sun().azimuth, -14.122 * kDegree, 1e-4);
  sky.northOffset = -200;
  EXPECT_NEAR(sky.sun().azimuth, 100.878 * kDegree, 1e-4);
}

// Compass bearings worked out apart: SolarPositionTest's cases.
TEST(SkySun, LiesSouthInTheMiddleAndWestToTheRight) {
  const struct {
    std::uint32_t day;
    float hours, timeZone, latitude, longitude;
    double azimuth, elevation;
  } cases[] = {{80, 12, 0, 51.4779f, 0, 177.699 - 180, 38.851},
               {355, 17.5f, 11, -33.8688f, 151.2093f, 260.159 - 180, 29.464},
               {172, 0, 1, 69.6492f, 18.9553f, 3.242 - 180, 3.119}};
  for (const auto& c : cases) {
    ReferenceSky sky;
    sky.settingsGiven = 1;
    sky.dayOfYear = c.day;
    sky.hours = c.hours;
    sky.timeZone = c.timeZone;
    sky.latitude = c.latitude;
    sky.longitude = c.longitude;
    EXPECT_NEAR(sky.sun().azimuth, c.azimuth * kDegree, 1e-4);
    EXPECT_NEAR(sky.sun().elevation, c.elevation * kDegree, 1e-4);
  }
}

// At an equinox the sun stands due east at 6, due south at 12 and due west at 18 o'clock of true solar time,
// which the clock of the place leads by 7.5 minutes that day: up to 2 degrees of bearing at 45 degrees north.
TEST(SkySun, GoesFromLeftToRight) {
  ReferenceSky sky;
  sky.dayOfYear = 80;
  sky.latitude = 45;
  const struct {
    float hours;
    double bearing;
  } cases[] = {{7, 90 + 10.7}, {12, 180}, {17, 270 - 10.7}};
  for (const auto& c : cases) {
    sky.hours = c.hours;
    const SkyMap map = render(sky, 360, 180);
    std::uint32_t brightest = 0;
    for (std::uint32_t i = 0; i < 360 * 90; ++i)
      if (map.rgb[3 * i] > map.rgb[3 * brightest]) brightest = i;
    EXPECT_NEAR(brightest % 360 + 0.5, c.bearing, 3.5) << c.hours;
  }
}

TEST(SkySun, FixedAnglesIgnoreNorthAndTimeUntilTheOwnSunIsAskedFor) {
  ReferenceSky sky;
  sky.settingsGiven = 1;
  setSun(sky, 77, 11);
  sky.northOffset = 90;
  sky.hours = 3;
  EXPECT_NEAR(sky.sun().azimuth, 77 * kDegree, 1e-9);
  EXPECT_NEAR(sky.sun().elevation, 11 * kDegree, 1e-9);
  sky.use_own_sun();
  EXPECT_LT(sky.sun().elevation, 0);
}

TEST(SkySun, ABrokenDirectionLeavesTheOwnSun) {
  const double broken[][3] = {{0, 0, 0}, {kNan, 0, 1}, {1, -INFINITY, 0}};
  for (const auto& direction : broken) {
    ReferenceSky sky;
    setSun(sky, 77, 11);
    sky.set_sun_direction(direction);
    EXPECT_NEAR(sky.sun().elevation, 57.194 * kDegree, 1e-4);
  }
  ReferenceSky sky;
  sky.set_sun_direction(nullptr);
  EXPECT_NEAR(sky.sun().elevation, 57.194 * kDegree, 1e-4);
}

}  // namespace
}  // namespace orv::host
