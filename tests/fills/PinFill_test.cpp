#include "fills/PinFill.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "fills/GradientFill.h"
#include "fills/SolidColorFill.h"
#include "fills/fill_context.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::unique_ptr<SolidColorFill> solid(const Rgb& color, BlendMode mode, float brightness = 1.0f) {
  ColorBrush brush(color);
  brush.setMode(mode);
  brush.adjustments().brightness = brightness;
  return makeFill<SolidColorFill>(brush);
}

/// The first pixel of a block after `fill` of weight `w` was merged over (r, g, b).
Rgb merged(const PinFill& fill, float w, const Rgb& below) {
  OneBlock batch = middleOfAPin();
  setLanes(batch.weight, all(w));
  setLanes(batch.color[0], all(below.r));
  setLanes(batch.color[1], all(below.g));
  setLanes(batch.color[2], all(below.b));
  composite(fill, batch);
  return {batch.color[0][0], batch.color[1][0], batch.color[2][0]};
}

TEST(Composite, AddsTheWeightedColor) {
  const auto fill = solid({0.5f, 1.0f, 2.0f}, BlendMode::add);
  EXPECT_EQ(merged(*fill, 0.5f, {1.0f, 1.0f, 1.0f}), (Rgb{1.25f, 1.5f, 2.0f}));
}

TEST(Composite, MultipliesByOnePlusTheWeightedColor) {
  const auto fill = solid({0.5f, 1.0f, 2.0f}, BlendMode::multiply);
  EXPECT_EQ(merged(*fill, 0.5f, {4.0f, 4.0f, 4.0f}), (Rgb{5.0f, 6.0f, 8.0f}));
}

TEST(Composite, MixesTowardsTheColor) {
  const auto fill = solid({0.0f, 1.0f, 2.0f}, BlendMode::mix);
  EXPECT_EQ(merged(*fill, 0.25f, {1.0f, 1.0f, 1.0f}), (Rgb{0.75f, 1.0f, 1.25f}));
}

TEST(Composite, MixOfWeightOneReplaces) {
  const auto fill = solid({0.25f, 0.5f, 8.0f}, BlendMode::mix);
  EXPECT_EQ(merged(*fill, 1.0f, {3.0f, 0.0f, 4.0f}), (Rgb{0.25f, 0.5f, 8.0f}));
}

TEST(Composite, ScreensBothColors) {
  // 1 - (1 - 0.5 * 0.5) (1 - 0.5) is 0.625.
  const auto fill = solid({0.5f, 1.0f, 2.0f}, BlendMode::screen);
  EXPECT_EQ(merged(*fill, 0.5f, {0.5f, 0.5f, 0.5f}), (Rgb{0.625f, 0.75f, 1.0f}));
}

TEST(Composite, ScreenOfAFullWhiteIsOne) {
  const auto fill = solid({1.0f, 1.0f, 1.0f}, BlendMode::screen);
  EXPECT_EQ(merged(*fill, 1.0f, {0.0f, 0.3f, 9.0f}), (Rgb{1.0f, 1.0f, 1.0f}));
}

TEST(Composite, UnknownModesOnlyRaiseToZero) {
  for (const std::uint32_t mode : {4u, 77u, 0xffffffffu}) {
    const auto fill = solid({0.5f, 0.5f, 0.5f}, static_cast<BlendMode>(mode));
    EXPECT_EQ(merged(*fill, 1.0f, {0.25f, -1.0f, 3.0f}), (Rgb{0.25f, 0.0f, 3.0f})) << mode;
  }
}

TEST(Composite, WeightZeroKeepsThePixelInEveryMode) {
  for (const BlendMode mode : {BlendMode::add, BlendMode::multiply, BlendMode::mix, BlendMode::screen}) {
    const auto fill = solid({0.5f, 7.0f, -3.0f}, mode);
    EXPECT_EQ(merged(*fill, 0.0f, {1e-9f, 0.3f, 12345.678f}), (Rgb{1e-9f, 0.3f, 12345.678f}));
  }
}

TEST(Composite, WeightZeroKeepsThePixelUnderAnInfiniteColor) {
  for (const BlendMode mode : {BlendMode::add, BlendMode::multiply, BlendMode::mix, BlendMode::screen}) {
    const auto fill = solid({kInfinity, kNan, -kInfinity}, mode);
    EXPECT_EQ(merged(*fill, 0.0f, {0.25f, 0.5f, 0.75f}), (Rgb{0.25f, 0.5f, 0.75f}));
  }
}

TEST(Composite, WeightThatIsNoNumberKeepsThePixel) {
  const auto fill = solid({1.0f, 1.0f, 1.0f}, BlendMode::mix);
  EXPECT_EQ(merged(*fill, kNan, {0.25f, 0.5f, 0.75f}), (Rgb{0.25f, 0.5f, 0.75f}));
}

TEST(Composite, NegativeResultsBecomeZero) {
  for (const BlendMode mode : {BlendMode::add, BlendMode::multiply, BlendMode::mix}) {
    const auto fill = solid({-9.0f, -9.0f, -9.0f}, mode);
    EXPECT_EQ(merged(*fill, 1.0f, {0.5f, 1.0f, 2.0f}), (Rgb{0.0f, 0.0f, 0.0f}));
  }
}

TEST(Composite, ResultsThatAreNoNumbersBecomeZero) {
  const auto fill = solid({kNan, kInfinity, 1.0f}, BlendMode::mix);
  EXPECT_EQ(merged(*fill, 1.0f, {1.0f, kInfinity, 1.0f}), (Rgb{0.0f, 0.0f, 1.0f}));
}

TEST(Composite, HasNoUpperLimit) {
  const auto fill = solid({1e30f, 1e30f, 1e30f}, BlendMode::add);
  EXPECT_EQ(merged(*fill, 1.0f, {0.0f, 0.0f, 0.0f}).r, 1e30f);
}

TEST(Composite, WeighsEachLaneByItself) {
  const auto fill = solid({1.0f, 1.0f, 1.0f}, BlendMode::add);
  OneBlock batch = middleOfAPin();
  const Lanes weights{0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 1.0f};
  setLanes(batch.weight, weights);
  composite(*fill, batch);
  EXPECT_EQ(lanesOf(batch.color[2]), weights);
}

TEST(Composite, OfARunHasTheBitsOfItsBlocks) {
  for (const std::uint32_t mode : {0u, 1u, 2u, 3u, 4u}) {
    const auto fill = solid({0.3f, 1.7f, -0.4f}, static_cast<BlendMode>(mode));
    EXPECT_EQ(differencesOfBatch(*fill, randomBatches(kBatchBlocks)), 0) << mode;
  }
}

TEST(PinFill, CopiesModeAndKindFromTheBrush) {
  const auto fill = solid({0.0f, 0.0f, 0.0f}, BlendMode::screen);
  EXPECT_EQ(fill->mode(), 3u);
  EXPECT_EQ(fill->kind(), BrushKind::color);
}

TEST(PinFill, LivesInTheHostsAlignedMemory) {
  FakeHost& host = FakeHost::instance();
  const std::int64_t live = host.liveBlocks();
  std::unique_ptr<PinFill> fill = solid({0.0f, 0.0f, 0.0f}, BlendMode::add);
  EXPECT_EQ(host.lastAligned(), std::make_pair(sizeof(SolidColorFill), std::size_t{32}));
  EXPECT_EQ(host.liveBlocks(), live + 1);
  fill.reset();
  EXPECT_EQ(host.liveBlocks(), live);
}

TEST(SolidColorFill, TakesOnlyTheBrightnessOfTheAdjustments) {
  ColorBrush brush(0.5f, 1.0f, 1.5f);
  brush.adjustments() = {2.0f, 0.5f, 0.3f, -1.0f, 0.1f, 0.1f, 0.1f};
  const auto fill = makeFill<SolidColorFill>(brush);
  OneBlock batch = middleOfAPin();
  alignas(32) float weight[8];
  Block color;
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(color.r), all(1.0f));
  EXPECT_EQ(lanesOf(color.g), all(2.0f));
  EXPECT_EQ(lanesOf(color.b), all(3.0f));
}

TEST(SolidColorFill, HandsTheCoverageOnAsWeight) {
  const auto fill = solid({1.0f, 1.0f, 1.0f}, BlendMode::add);
  OneBlock batch = middleOfAPin();
  const Lanes weights{0.0f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 0.7f};
  setLanes(batch.weight, weights);
  alignas(32) float weight[8];
  Block color;
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(weight), weights);
}

TEST(SolidColorFill, AsksForNothing) {
  EXPECT_EQ(solid({1.0f, 1.0f, 1.0f}, BlendMode::add)->requirements(), 0u);
}

/// Weights of a batch with gaps: nothing, one pixel, a NaN, a negative one, and whole runs.
std::vector<OneBlock> sparseBlocks() {
  std::vector<OneBlock> blocks = randomBatches(kBatchBlocks);
  for (std::size_t b = 0; b < blocks.size(); ++b) {
    for (std::size_t i = 0; i < 8; ++i) {
      for (auto& channel : blocks[b].color) channel[i] -= 1.5f;
      if (b % 7 < 3 || (b > 20 && b < 40)) blocks[b].weight[i] = i % 2 == 0 ? 0.0f : -0.0f;
    }
    if (b % 14 == 1) blocks[b].weight[b % 8] = 0.5f;
    if (b % 14 == 8) blocks[b].weight[b % 8] = kNan;
    if (b % 14 == 9) blocks[b].weight[b % 8] = -0.25f;
  }
  blocks[30].color[1][4] = kNan;
  return blocks;
}

/// A gradient of one color: shaded in runs, where a plain color is not.
std::unique_ptr<GradientFill> evenGradient(const Rgb& color, BlendMode mode) {
  GradientBrush brush;
  GradientStop stop;
  stop.r = color.r;
  stop.g = color.g;
  stop.b = color.b;
  brush.setStops({stop});
  brush.setMode(mode);
  return makeFill<GradientFill>(brush, true);
}

TEST(Composite, OfSparseWeightsOverNegativeColorsIsThatOfEachPixel) {
  const Rgb color{0.5f, 2.0f, -1.0f};
  const std::vector<OneBlock> blocks = sparseBlocks();
  for (const BlendMode mode : {BlendMode::add, BlendMode::multiply, BlendMode::mix, BlendMode::screen}) {
    const std::vector<Block> out = compositeTogether(*evenGradient(color, mode), blocks);
    const std::vector<Block> plain = compositeTogether(*solid(color, mode), blocks);
    const auto expected = [mode](float d, float s, float w) {
      if (!(std::abs(w) > 0.0f)) return d > 0.0f ? d : 0.0f;
      float x = std::fma(w, s, d);
      if (mode == BlendMode::multiply) x = d * std::fma(w, s, 1.0f);
      if (mode == BlendMode::mix) x = std::fma(s - d, w, d);
      if (mode == BlendMode::screen) x = 1.0f - std::fma(-w, s, 1.0f) * (1.0f - d);
      return x > 0.0f ? x : 0.0f;
    };
    for (std::size_t b = 0; b < blocks.size(); ++b)
      for (std::size_t i = 0; i < 8; ++i) {
        const float w = blocks[b].weight[i];
        EXPECT_EQ(out[b].r[i], expected(blocks[b].color[0][i], color.r, w)) << b << ' ' << i;
        EXPECT_EQ(out[b].g[i], expected(blocks[b].color[1][i], color.g, w)) << b << ' ' << i;
        EXPECT_EQ(out[b].b[i], expected(blocks[b].color[2][i], color.b, w)) << b << ' ' << i;
        EXPECT_EQ(plain[b].b[i], out[b].b[i]) << b << ' ' << i;
      }
  }
}

/// Counts the blocks that it shades; their color is u, v and the direction's x.
class CountingFill final : public PinFill {
 public:
  CountingFill() : PinFill(GradientBrush()) {}
  Shading shade(const PixelBatch& batch, FillScratch& scratch) const override {
    blocks += batch.blocks;
    for (std::size_t i = 0; i < 8 * batch.blocks; ++i) {
      scratch.color[i / 8].r[i % 8] = batch.u[i];
      scratch.color[i / 8].g[i % 8] = batch.v[i];
      scratch.color[i / 8].b[i % 8] = batch.directionWorld[0][i];
    }
    return {scratch.color, 1, batch.weight};
  }

  mutable std::size_t blocks = 0;
};

TEST(Composite, ShadesTheBlocksThatHaveAWeightAlone) {
  const std::vector<OneBlock> blocks = sparseBlocks();
  std::size_t painted = 0;
  for (const OneBlock& block : blocks)
    painted += std::any_of(block.weight, block.weight + 8, [](float w) { return std::abs(w) > 0.0f; });
  const auto fill = makeFill<CountingFill>();
  compositeTogether(*fill, blocks);
  EXPECT_EQ(fill->blocks, painted);
  EXPECT_LT(painted, blocks.size());
  EXPECT_EQ(differencesOfBatch(*fill, randomBatches(kBatchBlocks)), 0);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
