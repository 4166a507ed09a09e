// Colour and gradient backgrounds.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "backgrounds/ColorBackground.h"
#include "backgrounds/GradientBackground.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

GradientStop stop(float position, float r, float g, float b) {
  GradientStop s;
  s.position = position;
  s.r = r;
  s.g = g;
  s.b = b;
  return s;
}

std::unique_ptr<GradientBrush> redToBlue() {
  auto brush = std::make_unique<GradientBrush>();
  brush->setStops({stop(0, 1, 0, 0), stop(1, 0, 0, 1)});
  return brush;
}

TEST(ColorBackground, FillsEveryBlockWithColourTimesBrightness) {
  ColorBrush brush(0.5f, 1, 2);
  brush.adjustments().brightness = 2;
  const ColorBackground background(brush);
  std::vector<Block> row(3);
  background.fillRow(0, 0.1f, row);
  for (const Block& block : row)
    for (int lane = 0; lane < 8; ++lane) {
      EXPECT_EQ(block.r[lane], 1.0f);
      EXPECT_EQ(block.g[lane], 2.0f);
      EXPECT_EQ(block.b[lane], 4.0f);
    }
}

TEST(ColorBackground, IgnoresGammaHueSaturationAndTint) {
  ColorBrush brush(0.25f, 0.5f, 1);
  brush.adjustments() = {.brightness = 1, .gamma = 2, .hueShift = 0.5f, .saturation = 1, .tintRed = 0.1f};
  alignas(32) const float place[8] = {};
  Block out;
  ColorBackground(brush).sampleBlock({&out, 1}, place, place);
  EXPECT_EQ(out.r[0], 0.25f);
  EXPECT_EQ(out.g[0], 0.5f);
  EXPECT_EQ(out.b[0], 1.0f);
}

TEST(ColorBackground, CanAlwaysBeSampledAndPrepares) {
  FakeHost::instance().reset();
  BlockedPainter* painter = static_cast<BlockedPainter*>(createAVX2Painter());
  ColorBackground background{ColorBrush(1, 1, 1)};
  EXPECT_TRUE(background.canSample());
  EXPECT_TRUE(background.prepare(painter->context()));
  destroyAVX2Painter(painter);
}

TEST(GradientBackground, TheSouthPoleShowsPositionZeroAndTheNorthPoleOne) {
  const auto brush = redToBlue();
  const GradientBackground background(*brush);
  std::vector<Block> row(2);
  background.fillRow(0, -1.5707964f, row);
  EXPECT_NEAR(row[1].r[7], 1.0f, 1e-6f);
  EXPECT_NEAR(row[1].b[7], 0.0f, 1e-6f);
  background.fillRow(0, 1.5707964f, row);
  EXPECT_NEAR(row[1].r[7], 0.0f, 1e-6f);
  EXPECT_NEAR(row[1].b[7], 1.0f, 1e-6f);
}

TEST(GradientBackground, TheEquatorShowsTheMiddleInEveryLane) {
  const auto brush = redToBlue();
  std::vector<Block> row(4);
  GradientBackground(*brush).fillRow(7, 0.0f, row);
  for (const Block& block : row)
    for (int lane = 0; lane < 8; ++lane) {
      EXPECT_EQ(block.r[lane], 0.5f);
      EXPECT_EQ(block.g[lane], 0.0f);
      EXPECT_EQ(block.b[lane], 0.5f);
    }
}

TEST(GradientBackground, LookUpsTakeVAsThePosition) {
  const auto brush = redToBlue();
  Block out;
  alignas(32) const float v[8] = {0, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 0.875f};
  GradientBackground(*brush).sampleBlock({&out, 1}, v, v);
  for (int lane = 0; lane < 8; ++lane) {
    EXPECT_FLOAT_EQ(out.r[lane], 1.0f - 0.125f * static_cast<float>(lane));
    EXPECT_FLOAT_EQ(out.b[lane], 0.125f * static_cast<float>(lane));
  }
}

TEST(GradientBackground, LookUpsOfABatchHaveTheBrushsColors) {
  // Positions that ascend, one that does not, and one that is no number.
  for (const float middle : {0.5f, 2.0f, std::numeric_limits<float>::quiet_NaN()}) {
    GradientBrush brush;
    brush.setStops({stop(0, 1, 0, 0), stop(middle, 0.3f, 0.7f, 0.1f), stop(1, 0, 0, 1)});
    const GradientBackground background(brush);
    std::vector<Block> out(3);
    alignas(32) float v[24];
    for (std::size_t i = 0; i < 24; ++i) v[i] = static_cast<float>(i) / 20.0f - 0.1f;
    background.sampleBlock(out, v, v);
    for (std::size_t i = 0; i < 24; ++i) {
      const Block& block = out[i / 8];
      EXPECT_EQ((Rgb{block.r[i % 8], block.g[i % 8], block.b[i % 8]}), brush.evalColor(v[i])) << v[i];
    }
  }
}

TEST(GradientBackground, LookUpsShowTheSharedBrushAsItWasPrepared) {
  const auto brush = std::make_shared<GradientBrush>();
  brush->setStops({stop(0, 1, 0, 0)});
  GradientBackground background(*brush);
  brush->setStops({stop(0, 0.25f, 0, 0)});
  background.prepare({});
  alignas(32) const float v[8] = {};
  Block out;
  background.sampleBlock({&out, 1}, v, v);
  EXPECT_EQ(out.r[3], 0.25f);
}

TEST(GradientBackground, IsAdjusted) {
  const auto brush = redToBlue();
  brush->adjustments().brightness = 4;
  brush->adjustments().tintBlue = 0.5f;
  std::vector<Block> row(1);
  GradientBackground(*brush).fillRow(0, 0.0f, row);
  EXPECT_EQ(row[0].r[0], 2.0f);
  EXPECT_EQ(row[0].b[0], 1.0f);
}

TEST(GradientBackground, LookUpsAreAdjusted) {
  const auto brush = redToBlue();
  brush->adjustments().brightness = 4;
  brush->adjustments().tintBlue = 0.5f;
  alignas(32) float v[8];
  std::fill_n(v, 8, 0.5f);
  Block out;
  GradientBackground(*brush).sampleBlock({&out, 1}, v, v);
  EXPECT_EQ(out.r[0], 2.0f);
  EXPECT_EQ(out.b[0], 1.0f);
}

TEST(GradientBackground, AnEmptyRowIsLeftAlone) {
  const auto brush = redToBlue();
  GradientBackground(*brush).fillRow(0, 0.0f, {});
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
