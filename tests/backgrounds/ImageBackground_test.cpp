#include "backgrounds/ImageBackground.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
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

TEST_F(ImageBackgroundTest, TheImageIsBackAndItsStepDoneBeforeTheBlurBegins) {
  host_.images["a"] = std::make_unique<FakeImage>(8, 1);
  ImageBackground background{ImageBrush("a")};
  PaintContext context = painter_->context();
  context.blurAmount = 10;
  ASSERT_TRUE(background.prepare(context));
  const std::vector<std::string> story = host_.callsAndSteps();
  ASSERT_GE(story.size(), 7u);
  EXPECT_THAT(std::vector(story.begin(), story.begin() + 7),
              ElementsAre("orv_image_load(scene, \"a\", 1, true, null)",
                          "orv_progress_set(scene, \"Image Adjustments\", 0)",
                          "orv_image_free_mode(scene, true, false)", "orv_image_free(scene, image, false)",
                          "orv_image_free_mode(scene, false, false)", "orv_progress_add(scene, 1)",
                          "orv_progress_set(scene, \"Blur\", 0)"));
}

TEST_F(ImageBackgroundTest, AnImageOfTheMapsSizeThatShowsNoArrayIsReadPixelByPixel) {
  std::vector<float> rgb(24);
  for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<float>(i);
  host_.images["a"] = std::make_unique<FakeImage>(8, 1, rgb);
  host_.images["a"]->showsPixels = false;
  ImageBackground background{ImageBrush("a")};
  ASSERT_TRUE(background.prepare(painter_->context()));
  for (std::size_t x = 0; x < 8; ++x) {
    EXPECT_EQ(background.preparedMap().row(0)[0].r[x], static_cast<float>(3 * x));
    EXPECT_EQ(background.preparedMap().row(0)[0].b[x], static_cast<float>(3 * x + 2));
  }
}

TEST_F(ImageBackgroundTest, TheBrightestChannelDecidesHowFarTheBlurReachesWhicheverItIs) {
  // One lit pixel of 64 x 32. The reach is ceil(sigma sqrt(-2 ln(0.1 / maximum))), sigma = 64 / 100 * 5 / 2 =
  // 1.6: 5.95, so 6 columns, for a maximum of 100; 3.43, so 4, for one that is taken as 1.
  painter_->setSize(64, 32);
  for (const bool adjusted : {false, true}) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      std::vector<float> rgb(3 * 64 * 32);
      rgb[3 * (16 * 64 + 32) + channel] = 100;
      host_.images["a"] = std::make_unique<FakeImage>(64, 32, rgb);
      ImageBrush brush("a");
      if (adjusted) brush.adjustments().saturation = 1e-3f;
      ImageBackground background{brush};
      PaintContext context = painter_->context();
      context.blurAmount = 5;
      ASSERT_TRUE(background.prepare(context));
      const Block& far = background.preparedMap().row(16)[(32 + 6) / 8];
      const float* const planes[3] = {far.r, far.g, far.b};
      EXPECT_GT(planes[channel][6], 0.0f) << channel << adjusted;
      EXPECT_EQ(planes[channel][7], 0.0f) << channel << adjusted;
    }
  }
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
