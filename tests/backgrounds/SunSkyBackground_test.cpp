#include "backgrounds/SunSkyBackground.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

class SunSkyBackgroundTest : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    host_.sky = std::make_unique<FakeSky>();
    painter_ = static_cast<BlockedPainter*>(createAVX2Painter());
    painter_->setScene(host_.scene());
    painter_->setSize(16, 2);
  }
  void TearDown() override { destroyAVX2Painter(painter_); }

  FakeHost& host_ = FakeHost::instance();
  BlockedPainter* painter_ = nullptr;
  SunSkyBrush brush_;
};

TEST_F(SunSkyBackgroundTest, AsksTheHostInThisOrder) {
  SunSkyBackground background(brush_, *host_.sky);
  EXPECT_TRUE(background.prepare(painter_->context()));
  EXPECT_THAT(host_.calls(), ElementsAre("orv_progress_set(scene, \"Sun & Sky\", 0)", "render(16, 2)",
                                         "orv_progress_set(scene, \"Sun & Sky Adjustments\", 0)"));
  EXPECT_THAT(host_.progressAmounts(), ElementsAre(1.0f));
}

TEST_F(SunSkyBackgroundTest, BlurAndTiltReportAfterTheAdjustments) {
  brush_.setBlurAmount(30);
  brush_.setTiltAngles(40, 20);
  ASSERT_TRUE(painter_->setBackground(brush_));
  ASSERT_NE(painter_->paint(), nullptr);
  EXPECT_THAT(
      host_.calls(),
      testing::ElementsAre("orv_get_sky(scene)", testing::_, "orv_progress_set(scene, \"Sun & Sky\", 0)",
                           "render(16, 2)", "orv_progress_set(scene, \"Sun & Sky Adjustments\", 0)",
                           "orv_progress_set(scene, \"Blur\", 0)", "orv_progress_set(scene, \"Tilt\", 0)",
                           "orv_progress_set(scene, \"Painting Pins\", 0)"));
}

TEST_F(SunSkyBackgroundTest, TheSkyIsHandedTheSettingsOfASharedBrushAsItsDescription) {
  const auto shared = std::make_shared<SunSkyBrush>();
  SunSkyBackground background(*shared, *host_.sky);
  background.prepare(painter_->context());
  EXPECT_EQ(host_.sky->lastDescription, &shared->settings());
}

TEST_F(SunSkyBackgroundTest, TheDescriptionOutlivesABrushThatNobodyShares) {
  float turbidity = 0;
  host_.sky->onRender = [&](float*, std::uint32_t, std::uint32_t) {
    turbidity = static_cast<const SkySettings*>(host_.sky->lastDescription)->turbidity;
  };
  {
    SunSkyBrush brush;
    brush.settings().turbidity = 7.5f;
    ASSERT_TRUE(painter_->setBackground(brush));
    // What stands in its place when it is gone.
    brush.settings().turbidity = -1;
  }
  painter_->paint();
  EXPECT_EQ(turbidity, 7.5f);
}

// The bits of 95 are cleared from 3 w h + 95: 96 becomes 160, 48 becomes 128 and 12 becomes 32.
TEST_F(SunSkyBackgroundTest, TheSkysBufferHasItsPeculiarSize) {
  const struct {
    std::int32_t width, height;
    std::size_t floats;
  } cases[] = {{16, 2, 160}, {4, 4, 128}, {2, 2, 32}, {1, 1, 32}};
  for (const auto& c : cases) {
    std::size_t bytes = 0;
    host_.sky->onRender = [&](float*, std::uint32_t, std::uint32_t) { bytes = host_.lastAligned().first; };
    painter_->setSize(c.width, c.height);
    SunSkyBackground(brush_, *host_.sky).prepare(painter_->context());
    EXPECT_EQ(bytes, 4 * c.floats) << c.width << " x " << c.height;
  }
}

TEST_F(SunSkyBackgroundTest, TheSkysBufferIsAlignedAndZero) {
  bool zero = false;
  std::uintptr_t address = 1;
  host_.sky->onRender = [&](float* rgb, std::uint32_t, std::uint32_t) {
    address = reinterpret_cast<std::uintptr_t>(rgb);
    zero = std::all_of(rgb, rgb + 160, [](float x) { return x == 0.0f; });
  };
  SunSkyBackground(brush_, *host_.sky).prepare(painter_->context());
  EXPECT_EQ(address % 32, 0u);
  EXPECT_TRUE(zero);
}

TEST_F(SunSkyBackgroundTest, ASkyThatWritesNothingIsBlack) {
  SunSkyBackground background(brush_, *host_.sky);
  background.prepare(painter_->context());
  const Block& block = background.preparedMap().row(1)[1];
  for (int lane = 0; lane < 8; ++lane) {
    EXPECT_EQ(block.r[lane], 0.0f);
    EXPECT_EQ(block.g[lane], 0.0f);
    EXPECT_EQ(block.b[lane], 0.0f);
  }
}

TEST_F(SunSkyBackgroundTest, PixelsKeepTheirPlaces) {
  host_.sky->onRender = [](float* rgb, std::uint32_t, std::uint32_t) {
    const std::size_t x = 11, y = 1;
    rgb[3 * (16 * y + x) + 0] = 0.25f;
    rgb[3 * (16 * y + x) + 2] = 8;
  };
  SunSkyBackground background(brush_, *host_.sky);
  background.prepare(painter_->context());
  const Block& block = background.preparedMap().row(1)[1];
  EXPECT_EQ(block.r[3], 0.25f);
  EXPECT_EQ(block.g[3], 0.0f);
  EXPECT_EQ(block.b[3], 8.0f);
}

TEST_F(SunSkyBackgroundTest, NegativeValuesAreRaisedBeforeTheAdjustment) {
  host_.sky->onRender = [](float* rgb, std::uint32_t, std::uint32_t) {
    rgb[0] = -2;
    rgb[1] = 3;
    rgb[2] = 4;
  };
  brush_.adjustments().saturation = -0.5f;
  brush_.adjustments().brightness = 2;
  SunSkyBackground background(brush_, *host_.sky);
  background.prepare(painter_->context());
  // Half way from (0, 3, 4) to 4, twice as bright; from -2 red would be 2.
  const Block& block = background.preparedMap().row(0)[0];
  EXPECT_EQ(block.r[0], 4.0f);
  EXPECT_EQ(block.g[0], 7.0f);
  EXPECT_EQ(block.b[0], 8.0f);
}

TEST_F(SunSkyBackgroundTest, KeepsTheBrushAliveWhereASharedPointerOwnsIt) {
  auto shared = std::make_shared<SunSkyBrush>();
  const std::weak_ptr<SunSkyBrush> watch = shared;
  {
    const SunSkyBackground background(*shared, *host_.sky);
    shared.reset();
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_TRUE(watch.expired());
}

TEST_F(SunSkyBackgroundTest, AMapOfNoSizeIsPrepared) {
  painter_->setSize(0, 5);
  EXPECT_TRUE(SunSkyBackground(brush_, *host_.sky).prepare(painter_->context()));
}

TEST_F(SunSkyBackgroundTest, WithoutMemoryNothingIsLost) {
  const std::int64_t before = host_.liveBlocks();
  for (const int failing : {1, 2}) {
    SunSkyBackground background(brush_, *host_.sky);
    host_.failAllocation(failing);
    EXPECT_THROW(background.prepare(painter_->context()), std::bad_alloc);
  }
  host_.failAllocation(0);
  EXPECT_EQ(host_.liveBlocks(), before);
}

TEST_F(SunSkyBackgroundTest, SettingTheBackgroundWritesTheSettingsAndTheSun) {
  brush_.settings().turbidity = 6;
  brush_.settings().sunFromAngles = 1;
  brush_.settings().sunAzimuth = 90;
  brush_.settings().sunElevation = 0;
  EXPECT_TRUE(painter_->setBackground(brush_));
  EXPECT_EQ(host_.sky->settingsGiven, 1);
  EXPECT_EQ(host_.sky->turbidity, 6.0f);
  ASSERT_EQ(host_.sky->direction.size(), 3u);
  EXPECT_NEAR(host_.sky->direction[2], 1, 1e-7);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
