#include "scene/exr_chunks.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <vector>

namespace orv::scene {
namespace {

using ::testing::ElementsAre;

/// The value of a finite half without sign.
float valueOf(int half) {
  const int exponent = half >> 10;
  const int mantissa = half & 1023;
  return static_cast<float>(exponent == 0 ? std::ldexp(mantissa, -24)
                                          : std::ldexp(1024 + mantissa, exponent - 25));
}

TEST(ToHalf, RoundsToTheNearestAndTiesToTheEven) {
  constexpr int kLargest = 0x7BFF;
  for (int half = 0; half < kLargest; ++half) {
    const float low = valueOf(half);
    const float high = valueOf(half + 1);
    const float middle = low + (high - low) / 2;
    EXPECT_EQ(toHalf(low), half);
    EXPECT_EQ(toHalf(-low), half | 0x8000);
    EXPECT_EQ(toHalf(middle), half % 2 == 0 ? half : half + 1) << half;
    EXPECT_EQ(toHalf(std::nextafter(middle, low)), half);
    EXPECT_EQ(toHalf(std::nextafter(middle, high)), half + 1);
  }
}

TEST(ToHalf, IsInfiniteFrom65520On) {
  EXPECT_EQ(toHalf(65504.0f), 0x7BFF);
  EXPECT_EQ(toHalf(std::nextafter(65520.0f, 0.0f)), 0x7BFF);
  EXPECT_EQ(toHalf(65520.0f), 0x7C00);
  EXPECT_EQ(toHalf(3e38f), 0x7C00);
  EXPECT_EQ(toHalf(-INFINITY), 0xFC00);
}

TEST(ToHalf, KeepsNotANumber) { EXPECT_GT(toHalf(std::numeric_limits<float>::quiet_NaN()) & 0x7FFF, 0x7C00); }

TEST(PackRows, PutsEachRowsBluesBeforeItsGreensAndReds) {
  const std::vector<hdri::Rgb> pixels = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}};
  std::vector<float> floats(12);
  packRows(pixels.data(), 2, 2, floats.data());
  EXPECT_THAT(floats, ElementsAre(3, 6, 2, 5, 1, 4, 9, 12, 8, 11, 7, 10));
  std::vector<std::uint16_t> halves(3);
  packRows(pixels.data(), 1, 1, halves.data());
  EXPECT_THAT(halves, ElementsAre(0x4200, 0x4000, 0x3C00));
}

std::vector<std::uint8_t> split(const std::vector<std::uint8_t>& in) {
  std::vector<std::uint8_t> out(in.size());
  splitAndDifference(in.data(), in.size(), out.data());
  return out;
}

TEST(SplitAndDifference, TellsEachByteByTheOneBeforeIt) {
  EXPECT_THAT(split({}), ElementsAre());
  EXPECT_THAT(split({7}), ElementsAre(7));
  EXPECT_THAT(split({7, 8}), ElementsAre(7, 129));
  // Even places 10, 12, 11, then odd ones 138, 10.
  EXPECT_THAT(split({10, 138, 12, 10, 11}), ElementsAre(10, 130, 127, 255, 0));
}

}  // namespace
}  // namespace orv::scene
