// The values that brushes are made of are equal when each of their fields is.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "hdri/Brush.h"
#include "hdri/GradientBrush.h"
#include "hdri/Pixel.h"
#include "hdri/SunSkyBrush.h"

namespace orv::hdri {
namespace {

template <typename Value>
class Values : public testing::Test {};
using Kinds = testing::Types<Adjustments, Rgb, GradientStop, CurveStop, SkySettings>;
TYPED_TEST_SUITE(Values, Kinds);

TYPED_TEST(Values, DifferInEachField) {
  // All fields are of four bytes, or are the first byte of four. The bits make a float of about 9.5.
  static_assert(sizeof(TypeParam) % sizeof(std::uint32_t) == 0);
  constexpr std::uint32_t kBits = 0x41180001;
  for (std::size_t field = 0; field < sizeof(TypeParam); field += sizeof kBits) {
    const TypeParam plain{};
    TypeParam changed{};
    EXPECT_TRUE(plain == changed);
    EXPECT_FALSE(plain != changed);
    std::memcpy(reinterpret_cast<char*>(&changed) + field, &kBits, sizeof kBits);
    EXPECT_FALSE(plain == changed) << "at byte " << field;
    EXPECT_TRUE(plain != changed) << "at byte " << field;
  }
}

}  // namespace
}  // namespace orv::hdri
