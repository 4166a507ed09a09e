#include <gtest/gtest.h>

#include "orvrender/sky/solar_position.h"

namespace orv::host {
namespace {

struct Case {
  const char* name;
  double days, latitude, longitude, azimuth, elevation;
};

class SolarPositionTest : public testing::TestWithParam<Case> {};

TEST_P(SolarPositionTest, StandsWhereTheFormulaPutsIt) {
  const Case& c = GetParam();
  const SolarPosition position = solarPosition(c.days, c.latitude, c.longitude);
  EXPECT_NEAR(position.azimuth, c.azimuth, 6e-4);
  EXPECT_NEAR(position.elevation, c.elevation, 6e-4);
}

// Worked out apart, in another language; Meeus, Astronomical Algorithms, chapter 25 agrees to 0.013 degrees.
INSTANTIATE_TEST_SUITE_P(
    Cases, SolarPositionTest,
    testing::Values(Case{"Golden", 1385.3128472, 39.742476, -105.1786, 194.337, 39.873},
                    Case{"Default", daysFromJ2000(172, 10, 0), 45, 0, 120.878, 57.194},
                    Case{"Greenwich", daysFromJ2000(80, 12, 0), 51.4779, 0, 177.699, 38.851},
                    Case{"Sydney", daysFromJ2000(355, 17.5, 11), -33.8688, 151.2093, 260.159, 29.464},
                    Case{"Tromso", daysFromJ2000(172, 0, 1), 69.6492, 18.9553, 3.242, 3.119}),
    [](const auto& test) { return test.param.name; });

// The worked example of Reda & Andreas 2004, before refraction.
TEST(SolarPosition, AgreesWithAPublishedAlgorithmOfHigherPrecision) {
  const SolarPosition position = solarPosition(1385.3128472, 39.742476, -105.1786);
  EXPECT_NEAR(position.azimuth, 194.34024, 0.02);
  EXPECT_NEAR(position.elevation, 39.872046, 0.02);
}

TEST(SolarPosition, DaysAreCountedFromNoonOfTheFirstDayOf2000) {
  // 1 January 2026, 0 h UTC, is Julian day 2461041.5; J2000.0 is 2451545.
  EXPECT_EQ(daysFromJ2000(1, 0, 0), 2461041.5 - 2451545.0);
  EXPECT_EQ(daysFromJ2000(2, 12, 6), 9497.75);
}

TEST(SolarPosition, AtThePolesTheSunStaysAtItsDeclination) {
  // At the June solstice, 23.4 degrees at any hour.
  for (const double hours : {0.0, 5.0, 11.0, 18.0})
    EXPECT_NEAR(solarPosition(daysFromJ2000(172, hours, 0), 90, 0).elevation, 23.44, 0.01);
}

}  // namespace
}  // namespace orv::host
