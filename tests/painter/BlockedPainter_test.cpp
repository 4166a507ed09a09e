#include "painter/BlockedPainter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

class BlockedPainterTest : public testing::Test {
 protected:
  void SetUp() override {
    FakeHost::instance().reset();
    blocksBefore_ = FakeHost::instance().liveBlocks();
    painter_.reset(createAVX2Painter());
  }
  void TearDown() override {
    painter_.reset();
    FakeHost::instance().reset();
    EXPECT_EQ(FakeHost::instance().liveBlocks(), blocksBefore_) << "host memory was lost";
  }

  struct Destroy {
    void operator()(IPainter* painter) const { destroyAVX2Painter(painter); }
  };
  BlockedPainter& painter() { return static_cast<BlockedPainter&>(*painter_); }
  void validate() {
    painter().setSize(8, 4);
    ASSERT_TRUE(painter().setBackground(ColorBrush(1, 2, 3)));
    ASSERT_TRUE(painter().paint());
    ASSERT_TRUE(painter().isValid());
  }

  std::unique_ptr<IPainter, Destroy> painter_;
  std::int64_t blocksBefore_ = 0;
};

TEST_F(BlockedPainterTest, DestroyingNullDoesNothing) { destroyAVX2Painter(nullptr); }

TEST_F(BlockedPainterTest, IsBornWithoutAnything) {
  EXPECT_FALSE(painter().hasBackground());
  EXPECT_FALSE(painter().isValid());
  EXPECT_EQ(painter().context().width, 0);
  EXPECT_EQ(painter().context().height, 0);
  EXPECT_EQ(painter().context().pinSizeScale, 1.5f);
  EXPECT_FALSE(painter().context().smoothing);
  EXPECT_FALSE(painter().context().hasBackgroundFill);
  EXPECT_EQ(painter().context().blurAmount, 0.0f);
  EXPECT_EQ(painter().context().tiltAngle1, 0.0f);
  EXPECT_EQ(painter().context().tiltAngle2, 0.0f);
  EXPECT_EQ(painter().getType(), PainterType::avx2);
}

TEST_F(BlockedPainterTest, ReturnsTheTypeItWasMadeWith) {
  IPainter* other = createPainter(static_cast<PainterType>(77));
  EXPECT_EQ(other->getType(), static_cast<PainterType>(77));
  destroyAVX2Painter(other);
}

TEST_F(BlockedPainterTest, LivesInTheHosts32ByteAlignedMemory) {
  EXPECT_EQ(FakeHost::instance().liveBlocks(), blocksBefore_ + 1);
  EXPECT_EQ(FakeHost::instance().lastAligned(), std::pair(sizeof(BlockedPainter), std::size_t{32}));
}

TEST_F(BlockedPainterTest, CreationWithoutMemoryIsNull) {
  FakeHost::instance().failAllocation(1);
  EXPECT_EQ(createAVX2Painter(), nullptr);
}

TEST_F(BlockedPainterTest, ReservedOperationIsTrue) { EXPECT_TRUE(painter().reserved()); }

TEST_F(BlockedPainterTest, TheSameSizeKeepsThePaintedBackground) {
  validate();
  painter().setSize(8, 4);
  EXPECT_TRUE(painter().isValid());
}

TEST_F(BlockedPainterTest, AnotherSizeClearsThePaintedBackground) {
  validate();
  painter().setSize(8, 5);
  EXPECT_FALSE(painter().isValid());
}

TEST_F(BlockedPainterTest, ANegativeSizeIsStoredAsZeroAndAlwaysClears) {
  ASSERT_TRUE(painter().setBackground(ColorBrush(1, 1, 1)));
  painter().setSize(0, 5);
  painter().paint();
  ASSERT_TRUE(painter().isValid());
  painter().setSize(-3, 5);
  EXPECT_EQ(painter().context().width, 0);
  EXPECT_EQ(painter().context().height, 5);
  EXPECT_FALSE(painter().isValid());
}

TEST_F(BlockedPainterTest, OptionsAreBytesAndLeaveTheBackgroundValid) {
  validate();
  painter().setOptions({.smoothing = 2, .keepBackground = 1});
  EXPECT_TRUE(painter().context().smoothing);
  EXPECT_TRUE(painter().isValid());
  painter().setOptions({});
  EXPECT_FALSE(painter().context().smoothing);
}

TEST_F(BlockedPainterTest, ClearRemovesTheBackground) {
  validate();
  painter().clear();
  EXPECT_FALSE(painter().hasBackground());
  EXPECT_FALSE(painter().isValid());
}

TEST_F(BlockedPainterTest, ClearKeepsTheBackgroundWhenAskedTo) {
  validate();
  painter().setOptions({.smoothing = 0, .keepBackground = 1});
  painter().clear();
  EXPECT_TRUE(painter().hasBackground());
  EXPECT_TRUE(painter().isValid());
  EXPECT_FALSE(painter().context().hasBackgroundFill);
}

TEST_F(BlockedPainterTest, ProgressIsSilentWithoutAScene) {
  painter().context().progressText("Blur");
  painter().context().progressStep(1);
  painter().context().progressFraction(1, 2);
  EXPECT_TRUE(FakeHost::instance().calls().empty());
  EXPECT_TRUE(FakeHost::instance().progressAmounts().empty());
}

TEST_F(BlockedPainterTest, ProgressReachesTheScene) {
  painter().setScene(FakeHost::instance().scene());
  painter().context().progressText("Blur");
  painter().context().progressStep(0.5f);
  painter().context().progressFraction(4, 16);
  EXPECT_THAT(FakeHost::instance().calls(), ElementsAre("orv_progress_set(scene, \"Blur\", 0)"));
  EXPECT_THAT(FakeHost::instance().progressAmounts(), ElementsAre(0.5f, 0.25f));
}

TEST_F(BlockedPainterTest, LoadsAndReleasesAnImageInThisOrder) {
  FakeHost::instance().images["a.exr"] = std::make_unique<FakeImage>(2, 1);
  painter().setScene(FakeHost::instance().scene());
  EXPECT_TRUE(painter().context().loadImage("a.exr"));
  EXPECT_THAT(FakeHost::instance().calls(),
              ElementsAre("orv_image_load(scene, \"a.exr\", 1, true, null)",
                          "orv_image_free_mode(scene, true, false)", "orv_image_free(scene, image, false)",
                          "orv_image_free_mode(scene, false, false)"));
  EXPECT_TRUE(FakeHost::instance().log().empty());
}

TEST_F(BlockedPainterTest, AMissingImageIsNamedInTheLog) {
  EXPECT_FALSE(painter().context().loadImage("no such.exr"));
  EXPECT_THAT(FakeHost::instance().log(),
              ElementsAre("Failed to find image 'no such.exr' used environment painter\n"));
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
