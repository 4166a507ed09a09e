#include "backgrounds/InterleavedMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// A map whose red is the column, green the row and blue their product.
BlockedMap ramp(std::uint32_t width, std::uint32_t height) {
  BlockedMap map(width, height);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < map.paddedWidth(); ++x) {
      Block& block = map.row(y)[x / 8];
      block.r[x % 8] = static_cast<float>(x % width);
      block.g[x % 8] = static_cast<float>(y);
      block.b[x % 8] = static_cast<float>((x % width) * y);
    }
  return map;
}

Block sample(const BlockedMap& map, Float8 u, Float8 v) {
  const InterleavedMap copy(map);
  SamplePositions at;
  copy.positions(u, v, at);
  Block out;
  copy.sample(at, out);
  return out;
}
Block sample(const BlockedMap& map, float u, float v) { return sample(map, splat(u), splat(v)); }

TEST(InterleavedMap, ZeroAndOneHitTheFirstAndLastCentresExactly) {
  const BlockedMap map = ramp(13, 5);
  EXPECT_EQ(sample(map, 0, 0).r[0], 0.0f);
  EXPECT_EQ(sample(map, 1, 0).r[0], 12.0f);
  EXPECT_EQ(sample(map, 0, 1).g[0], 4.0f);
  EXPECT_EQ(sample(map, 1, 1).b[0], 48.0f);
}

TEST(InterleavedMap, HalfwayBlendsBothAxes) {
  const BlockedMap map = ramp(3, 3);
  // x = 0.5, y = 1.5: the mean of the products 0, 1, 0, 2 of columns 0, 1 and rows 1, 2.
  const Block out = sample(map, 0.25f, 0.75f);
  EXPECT_FLOAT_EQ(out.r[0], 0.5f);
  EXPECT_FLOAT_EQ(out.g[0], 1.5f);
  EXPECT_FLOAT_EQ(out.b[0], 0.75f);
}

TEST(InterleavedMap, LanesAreIndependent) {
  const BlockedMap map = ramp(8, 2);
  const Block out = sample(map, laneIndex() * splat(1.0f / 7.0f), zero8());
  for (int lane = 0; lane < 8; ++lane) EXPECT_NEAR(out.r[lane], lane, 1e-5f);
}

TEST(InterleavedMap, CoordinatesOutsideAreClampedAndNaNCountsAsZero) {
  const BlockedMap map = ramp(4, 4);
  EXPECT_EQ(sample(map, -3, 0).r[0], 0.0f);
  EXPECT_EQ(sample(map, 7, 0).r[0], 3.0f);
  EXPECT_EQ(sample(map, 0, std::numeric_limits<float>::infinity()).g[0], 3.0f);
  EXPECT_EQ(sample(map, std::numeric_limits<float>::quiet_NaN(), 0).r[0], 0.0f);
}

TEST(InterleavedMap, BatchesHaveTheBitsOfOneBlockAtATime) {
  constexpr std::size_t kMost = 64;
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{1, 1}, {13, 5}, {256, 90}};
  for (const auto& [width, height] : sizes) {
    const InterleavedMap copy(ramp(width, height));
    alignas(32) float u[8 * kMost], v[8 * kMost];
    for (std::size_t i = 0; i < 8 * kMost; ++i) {
      u[i] = 1.2f * static_cast<float>(i * 2654435761u % 1000) / 1000.0f - 0.1f;
      v[i] = 1.2f * static_cast<float>(i * 40503u % 1000) / 1000.0f - 0.1f;
    }
    u[11] = v[77] = std::numeric_limits<float>::quiet_NaN();
    for (const std::size_t blocks : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 31u, 64u}) {
      std::vector<Block> together(blocks);
      copy.sample(u, v, together);
      for (std::size_t block = 0; block < blocks; ++block) {
        SamplePositions at;
        copy.positions(load(u + 8 * block), load(v + 8 * block), at);
        Block alone;
        copy.sample(at, alone);
        EXPECT_EQ(std::memcmp(&together[block], &alone, sizeof alone), 0) << block << " of " << blocks;
      }
    }
  }
}

/// The channels of a block, red first.
float* channelOf(Block& block, int channel) {
  float* const channels[] = {block.r, block.g, block.b};
  return channels[channel];
}

TEST(InterleavedMap, BetweenTheLargestAndItsNegativeLiesZeroWhereverTheyStand) {
  constexpr float kMost = std::numeric_limits<float>::max();
  constexpr std::uint32_t kWidth = 17, kHeight = 3;
  for (int channel = 0; channel < 3; ++channel)
    for (std::uint32_t y = 0; y < kHeight; ++y)
      for (std::uint32_t x = 0; x + 1 < kWidth; ++x) {
        BlockedMap map(kWidth, kHeight);
        for (std::uint32_t row = 0; row < kHeight; ++row)
          for (Block& block : map.row(row)) block = {};
        channelOf(map.row(y)[x / 8], channel)[x % 8] = kMost;
        channelOf(map.row(y)[(x + 1) / 8], channel)[(x + 1) % 8] = -kMost;
        Block out = sample(map, (static_cast<float>(x) + 0.5f) / 16.0f, static_cast<float>(y) / 2.0f);
        EXPECT_EQ(channelOf(out, channel)[0], 0.0f) << channel << " at " << x << ", " << y;
      }
}

TEST(InterleavedMap, BesideTheLargestFloatTheLastColumnIsItself) {
  BlockedMap map = ramp(17, 3);
  map.row(0)[0].r[0] = std::numeric_limits<float>::max();
  EXPECT_EQ(sample(map, 1, 0).r[0], 16.0f);
  EXPECT_EQ(sample(map, 1, 1).b[0], 32.0f);
  EXPECT_EQ(sample(map, 0, 1).g[0], 2.0f);
}

TEST(InterleavedMap, ASinglePixelIsSeenFromEverywhere) {
  BlockedMap map(1, 1);
  for (float& x : map.row(0)[0].r) x = 5;
  for (float& x : map.row(0)[0].g) x = 6;
  for (float& x : map.row(0)[0].b) x = 7;
  for (float u : {0.0f, 0.3f, 1.0f}) EXPECT_EQ(sample(map, u, 1 - u).b[4], 7.0f);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
