#include "backgrounds/ImageBackground.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "hdri/ImageBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

class ImageBackgroundTest : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    painter_ = static_cast<BlockedPainter*>(createAVX2Painter());
    painter_->setScene(host_.scene());
    painter_->setSize(8, 1);
  }
  void TearDown() override { destroyAVX2Painter(painter_); }

  FakeHost& host_ = FakeHost::instance();
  BlockedPainter* painter_ = nullptr;
};

TEST_F(ImageBackgroundTest, AsksTheHostInThisOrder) {
  host_.images["a"] = std::make_unique<FakeImage>(8, 1);
  ImageBackground background{ImageBrush("a")};
  EXPECT_TRUE(background.prepare(painter_->context()));
  EXPECT_THAT(host_.calls(),
              ElementsAre("orv_image_load(scene, \"a\", 1, true, null)",
                          "orv_progress_set(scene, \"Image Adjustments\", 0)",
                          "orv_image_free_mode(scene, true, false)", "orv_image_free(scene, image, false)",
                          "orv_image_free_mode(scene, false, false)"));
  EXPECT_THAT(host_.progressAmounts(), ElementsAre(1.0f));
}

TEST_F(ImageBackgroundTest, AMissingImageLeavesThePreparedMapUntouched) {
  host_.images["a"] = std::make_unique<FakeImage>(8, 1, std::vector<float>(24, 0.5f));
  ImageBackground background{ImageBrush("a")};
  ASSERT_TRUE(background.prepare(painter_->context()));
  host_.images.clear();
  painter_->setSize(16, 2);
  EXPECT_FALSE(background.prepare(painter_->context()));
  EXPECT_EQ(background.preparedMap().width(), 8u);
  EXPECT_EQ(background.preparedMap().row(0)[0].g[3], 0.5f);
}

TEST_F(ImageBackgroundTest, AnImageWithoutPixelsCanNotBePrepared) {
  host_.images["a"] = std::make_unique<FakeImage>(0, 0, std::vector<float>(3));
  ImageBackground background{ImageBrush("a")};
  EXPECT_FALSE(background.prepare(painter_->context()));
}

TEST_F(ImageBackgroundTest, CanNotBeSampledUnlessThePainterAskedForIt) {
  host_.images["a"] = std::make_unique<FakeImage>(8, 1);
  ImageBackground background{ImageBrush("a")};
  ASSERT_TRUE(background.prepare(painter_->context()));
  EXPECT_FALSE(background.canSample());
}

TEST_F(ImageBackgroundTest, TheImageIsHandedBackWhenTheMapDoesNotFitMemory) {
  host_.images["a"] = std::make_unique<FakeImage>(8, 1);
  ImageBackground background{ImageBrush("a")};
  host_.failAllocation(1);
  EXPECT_THROW(background.prepare(painter_->context()), std::bad_alloc);
  EXPECT_EQ(host_.calls().back(), "orv_image_free_mode(scene, false, false)");
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
