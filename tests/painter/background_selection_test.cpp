#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

class BackgroundSelection : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    blocksBefore_ = host_.liveBlocks();
    painter_ = static_cast<BlockedPainter*>(createAVX2Painter());
    painter_->setScene(host_.scene());
    painter_->setSize(4, 2);
  }
  void TearDown() override {
    destroyAVX2Painter(painter_);
    host_.reset();
    EXPECT_EQ(host_.liveBlocks(), blocksBefore_) << "host memory was lost";
  }
  Rgb firstPixel() { return painter_->paint()->pixels.front(); }

  FakeHost& host_ = FakeHost::instance();
  BlockedPainter* painter_ = nullptr;
  std::int64_t blocksBefore_ = 0;
};

TEST_F(BackgroundSelection, TakesBlurAndAnglesFromTheBrush) {
  ColorBrush brush(1, 1, 1);
  brush.setBlurAmount(2.5f);
  brush.setBlurOnSphere(true);
  brush.setTiltAngles(90.0f, -45.0f);
  EXPECT_TRUE(painter_->setBackground(brush));
  EXPECT_TRUE(painter_->context().blurOnSphere);
  EXPECT_EQ(painter_->context().blurAmount, 2.5f);
  EXPECT_EQ(painter_->context().tiltAngle1, 90.0f * 0.017453292f);
  EXPECT_EQ(painter_->context().tiltAngle2, -45.0f * 0.017453292f);
}

TEST_F(BackgroundSelection, AKindThatIsNoBackgroundLeavesTheOldOneButClearsValidity) {
  ASSERT_TRUE(painter_->setBackground(ColorBrush(1, 2, 3)));
  painter_->paint();
  ASSERT_TRUE(painter_->isValid());
  BackgroundBrush rotated(10, 20);
  rotated.setBlurAmount(7);
  EXPECT_FALSE(painter_->setBackground(rotated));
  EXPECT_FALSE(painter_->isValid());
  EXPECT_EQ(painter_->context().blurAmount, 7.0f);
  EXPECT_EQ(firstPixel(), (Rgb{1, 2, 3}));
}

TEST_F(BackgroundSelection, ReplacesAndDestroysTheOldBackgroundAndClearsValidity) {
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(painter_->setBackground(ColorBrush(static_cast<float>(i), 0, 0)));
    EXPECT_FALSE(painter_->isValid());
    // The painter and one background.
    EXPECT_EQ(host_.liveBlocks(), blocksBefore_ + 2);
    painter_->paint();
    EXPECT_TRUE(painter_->isValid());
  }
}

TEST_F(BackgroundSelection, WithoutMemoryThereIsNoBackground) {
  ASSERT_TRUE(painter_->setBackground(ColorBrush(1, 1, 1)));
  host_.failAllocation(1);
  EXPECT_FALSE(painter_->setBackground(ColorBrush(2, 2, 2)));
  EXPECT_FALSE(painter_->hasBackground());
}

TEST_F(BackgroundSelection, ASkyThatTheSceneDoesNotHaveShowsAsRed) {
  EXPECT_FALSE(painter_->setBackground(SunSkyBrush()));
  EXPECT_THAT(host_.log(), ElementsAre("No skylight api found\n"));
  EXPECT_TRUE(painter_->hasBackground());
  EXPECT_EQ(firstPixel(), (Rgb{1, 0, 0}));
}

TEST_F(BackgroundSelection, WithoutMemoryForTheRedOfAMissingSkyThereIsNoBackground) {
  ASSERT_TRUE(painter_->setBackground(ColorBrush(1, 1, 1)));
  host_.failAllocation(1);
  EXPECT_FALSE(painter_->setBackground(SunSkyBrush()));
  EXPECT_FALSE(painter_->hasBackground());
  EXPECT_FALSE(painter_->paint());
}

TEST_F(BackgroundSelection, WithoutMemoryForTheWhiteOfAMissingImageThePaintThrowsAndTheNextHasNone) {
  ASSERT_TRUE(painter_->setBackground(ImageBrush("gone.exr")));
  host_.failAllocation(1);
  EXPECT_THROW(painter_->paint(), std::bad_alloc);
  EXPECT_FALSE(painter_->hasBackground());
  EXPECT_FALSE(painter_->isValid());
  EXPECT_FALSE(painter_->paint());
}

TEST_F(BackgroundSelection, AGradientIsSharedWithItsOwner) {
  auto brush = std::make_shared<GradientBrush>();
  EXPECT_TRUE(painter_->setBackground(*brush));
  EXPECT_EQ(brush.use_count(), 2);
}

TEST_F(BackgroundSelection, AGradientOnTheStackIsCopied) {
  {
    GradientBrush brush;
    GradientStop stop;
    stop.r = 0.25f;
    brush.setStops({stop});
    EXPECT_TRUE(painter_->setBackground(brush));
  }
  EXPECT_EQ(firstPixel(), (Rgb{0.25f, 1, 1}));
}

TEST_F(BackgroundSelection, AnImageBackgroundIsInstalledBeforeItIsLoaded) {
  EXPECT_TRUE(painter_->setBackground(ImageBrush("later.exr")));
  EXPECT_TRUE(host_.calls().empty());
}

TEST_F(BackgroundSelection, TheSizeOfAnImageIsTakenAndTheImageStaysWithTheHost) {
  host_.images["map.exr"] = std::make_unique<FakeImage>(6, 3);
  EXPECT_TRUE(painter_->setSizeFromImage("map.exr"));
  EXPECT_EQ(painter_->context().width, 6);
  EXPECT_EQ(painter_->context().height, 3);
  EXPECT_THAT(host_.calls(), ElementsAre("orv_image_load(scene, \"map.exr\", 1, true, null)"));
}

TEST_F(BackgroundSelection, TheSizeOfAnImageOfTheSameSizeKeepsValidity) {
  host_.images["map.exr"] = std::make_unique<FakeImage>(4, 2);
  painter_->setBackground(ColorBrush(1, 1, 1));
  painter_->paint();
  ASSERT_TRUE(painter_->setSizeFromImage("map.exr"));
  EXPECT_TRUE(painter_->isValid());
}

TEST_F(BackgroundSelection, ASizeThatIsNoSignedNumberOf32BitsCountsAsNone) {
  host_.images["wide.exr"] = std::make_unique<FakeImage>(3000000000u, 7, std::vector<float>(3));
  host_.images["high.exr"] = std::make_unique<FakeImage>(7, 3000000000u, std::vector<float>(3));
  EXPECT_TRUE(painter_->setSizeFromImage("wide.exr"));
  EXPECT_EQ(painter_->context().width, 0);
  EXPECT_EQ(painter_->context().height, 7);
  EXPECT_TRUE(painter_->setSizeFromImage("high.exr"));
  EXPECT_EQ(painter_->context().width, 7);
  EXPECT_EQ(painter_->context().height, 0);
}

TEST_F(BackgroundSelection, AMissingImageLeavesTheSize) {
  EXPECT_FALSE(painter_->setSizeFromImage("gone.exr"));
  EXPECT_EQ(painter_->context().width, 4);
  EXPECT_EQ(painter_->context().height, 2);
  EXPECT_THAT(host_.log(), ElementsAre("Failed to find image 'gone.exr' used environment painter\n"));
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
