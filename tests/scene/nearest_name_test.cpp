#include "scene/nearest_name.h"

#include <gtest/gtest.h>

#include <array>

namespace orv::scene {
namespace {

constexpr std::array<std::string_view, 4> kNames{"radius", "rotation", "half", "azimuth"};

TEST(NearestName, FindsOneSlip) {
  EXPECT_EQ(nearestName("raduis", kNames), "radius");
  EXPECT_EQ(nearestName("radiu", kNames), "radius");
  EXPECT_EQ(nearestName("raddius", kNames), "radius");
  EXPECT_EQ(nearestName("hall", kNames), "half");
}

TEST(NearestName, DoesNotMindLetterCase) { EXPECT_EQ(nearestName("AZIMUTH", kNames), "azimuth"); }

TEST(NearestName, IsSilentAboutOtherWords) {
  EXPECT_EQ(nearestName("elephant", kNames), "");
  EXPECT_EQ(nearestName("", kNames), "");
  EXPECT_EQ(nearestName("x", kNames), "");
  EXPECT_EQ(nearestName(std::string(100000, 'r'), kNames), "");
}

}  // namespace
}  // namespace orv::scene
