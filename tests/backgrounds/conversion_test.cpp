#include "backgrounds/conversion.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

std::vector<float> counting(std::uint32_t width, std::uint32_t height) {
  std::vector<float> rgb(std::size_t{3} * width * height);
  for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<float>(i) + 0.25f;
  return rgb;
}

float channel(const BlockedMap& map, std::size_t x, std::uint32_t y, int c) {
  const Block& block = map.row(y)[x / 8];
  const float* plane = c == 0 ? block.r : c == 1 ? block.g : block.b;
  return plane[x % 8];
}

const ColorAdjustment kNeutral{Adjustments{}};

TEST(Conversion, OfTheMapsSizeReproducesThePixelsBitForBit) {
  for (std::uint32_t width : {1u, 7u, 8u, 9u, 250u, 257u, 513u}) {
    const std::vector<float> rgb = counting(width, 3);
    BlockedMap map(width, 3);
    const float maximum = convertPixels(rgb.data(), kNeutral, map);
    EXPECT_EQ(maximum, rgb.back());
    for (std::uint32_t y = 0; y < 3; ++y)
      for (std::uint32_t x = 0; x < width; ++x)
        for (int c = 0; c < 3; ++c)
          ASSERT_EQ(channel(map, x, y, c), rgb[3 * (y * width + x) + static_cast<std::size_t>(c)]) << width;
  }
}

TEST(Conversion, PaddingGoesOnWithTheRowFromItsStart) {
  for (std::uint32_t width : {1u, 3u, 5u, 11u}) {
    const std::vector<float> rgb = counting(width, 2);
    const FakeImage image(2 * width, 4, counting(2 * width, 4));
    BlockedMap direct(width, 2), scaled(width, 2);
    convertPixels(rgb.data(), kNeutral, direct);
    convertScaled(image, kNeutral, scaled);
    for (std::size_t x = width; x < direct.paddedWidth(); ++x)
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(channel(direct, x, 1, c), channel(direct, x % width, 1, c));
        ASSERT_EQ(channel(scaled, x, 1, c), channel(scaled, x % width, 1, c));
      }
  }
}

TEST(Conversion, NegativeValuesAndNaNBecomeZero) {
  std::vector<float> rgb(24, 0.5f);
  rgb[0] = -1.0f;
  rgb[4] = -std::numeric_limits<float>::infinity();
  rgb[8] = std::numeric_limits<float>::quiet_NaN();
  BlockedMap map(8, 1);
  EXPECT_EQ(convertPixels(rgb.data(), kNeutral, map), 0.5f);
  EXPECT_EQ(channel(map, 0, 0, 0), 0.0f);
  EXPECT_EQ(channel(map, 1, 0, 1), 0.0f);
  EXPECT_EQ(channel(map, 2, 0, 2), 0.0f);
}

TEST(Conversion, TheMaximumIsOfTheAdjustedPixels) {
  std::vector<float> rgb(3 * 20, 0.1f);
  rgb[31] = 3.0f;
  BlockedMap map(20, 1);
  EXPECT_FLOAT_EQ(convertPixels(rgb.data(), ColorAdjustment({.brightness = 2}), map), 6.0f);
}

TEST(Conversion, TheMaximumOfABlackMapIsZero) {
  const std::vector<float> rgb(24, 0.0f);
  BlockedMap map(8, 1);
  EXPECT_EQ(convertPixels(rgb.data(), kNeutral, map), 0.0f);
}

TEST(Conversion, TwiceTheSizeTakesEverySecondPixel) {
  const FakeImage image(20, 6, counting(20, 6));
  BlockedMap map(10, 3);
  convertScaled(image, kNeutral, map);
  for (std::uint32_t y = 0; y < 3; ++y)
    for (std::uint32_t x = 0; x < 10; ++x)
      ASSERT_EQ(channel(map, x, y, 0), image.rgb[3 * (2 * y * 20 + 2 * x)]);
}

TEST(Conversion, OtherSizesTakeTheTruncatedPixel) {
  const FakeImage image(7, 5, counting(7, 5));
  BlockedMap map(16, 9);
  convertScaled(image, kNeutral, map);
  for (std::uint32_t y = 0; y < 9; ++y)
    for (std::uint32_t x = 0; x < 16; ++x) {
      // Whole-number arithmetic: floor(x 7 / 16), floor(y 5 / 9).
      const std::size_t sx = x * 7 / 16, sy = y * 5 / 9;
      ASSERT_EQ(channel(map, x, y, 2), image.rgb[3 * (sy * 7 + sx) + 2]) << x << ',' << y;
    }
}

TEST(Conversion, ImagesWithAndWithoutTheirArrayGiveTheSameBytes) {
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{1, 1}, {7, 5}, {40, 3}, {300, 20}, {701, 64}};
  for (const auto& [width, height] : sizes) {
    const FakeImage open(width, height, counting(width, height));
    FakeImage closed(width, height, counting(width, height));
    closed.showsPixels = false;
    for (const std::uint32_t columns : {3u, 16u, 299u, 513u}) {
      const ColorAdjustment adjustment({.gamma = 1.4f});
      BlockedMap fromArray(columns, 31), fromPixels(columns, 31);
      EXPECT_EQ(convertScaled(open, adjustment, fromArray), convertScaled(closed, adjustment, fromPixels));
      EXPECT_EQ(std::memcmp(fromArray.data(), fromPixels.data(), fromArray.bytes()), 0)
          << width << " to " << columns;
    }
  }
}

TEST(Conversion, AllSettingsTogetherEqualAdjustingEachPixel) {
  const Adjustments settings{.brightness = 1.3f, .gamma = 2.2f, .hueShift = 0.2f, .saturation = 0.4f};
  const std::vector<float> rgb = counting(300, 2);
  BlockedMap map(300, 2);
  convertPixels(rgb.data(), ColorAdjustment(settings), map);
  Block one;
  for (int lane = 0; lane < 8; ++lane) {
    one.r[lane] = rgb[3 * 555];
    one.g[lane] = rgb[3 * 555 + 1];
    one.b[lane] = rgb[3 * 555 + 2];
  }
  ColorAdjustment(settings).apply(&one, 1);
  EXPECT_EQ(channel(map, 255, 1, 0), one.r[0]);
  EXPECT_EQ(channel(map, 255, 1, 2), one.b[0]);
}

TEST(Conversion, BytesDoNotDependOnTheThreads) {
  const std::vector<float> rgb = counting(1000, 200);
  const ColorAdjustment adjustment({.gamma = 1.7f, .saturation = 0.2f});
  std::vector<float> first;
  for (std::size_t threads : {1u, 2u, 7u}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    BlockedMap map(1000, 200);
    const float maximum = convertPixels(rgb.data(), adjustment, map);
    std::vector<float> bytes(map.data(), map.data() + map.bytes() / sizeof(float));
    bytes.push_back(maximum);
    if (first.empty()) first = bytes;
    EXPECT_EQ(std::memcmp(first.data(), bytes.data(), bytes.size() * sizeof(float)), 0) << threads;
  }
}

TEST(Conversion, LargeMapsWrittenPastTheCachesHoldTheSamePixels) {
  const std::uint32_t width = 2048, height = 1400;  // 34 MB
  const std::vector<float> rgb = counting(width, height);
  BlockedMap map(width, height);
  convertPixels(rgb.data(), kNeutral, map);
  for (std::uint32_t y = 0; y < height; y += 37)
    for (std::uint32_t x = 0; x < width; x += 41)
      for (int c = 0; c < 3; ++c)
        ASSERT_EQ(channel(map, x, y, c), rgb[3 * (std::size_t{y} * width + x) + static_cast<std::size_t>(c)]);
}

TEST(ConvertPixels, InfinitiesBecomeTheLargestFiniteFloat) {
  std::vector<float> rgb(24, 1.0f);
  rgb[3] = std::numeric_limits<float>::infinity();
  rgb[4] = -std::numeric_limits<float>::infinity();
  BlockedMap map(8, 1);
  EXPECT_EQ(convertPixels(rgb.data(), ColorAdjustment({}), map), std::numeric_limits<float>::max());
  EXPECT_EQ(map.row(0)[0].r[1], std::numeric_limits<float>::max());
  EXPECT_EQ(map.row(0)[0].g[1], 0.0f);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
