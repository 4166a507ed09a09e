// Images through the reference host into painted maps.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "orvrender/orvHost.h"

namespace orv::hdri {
namespace {

const std::string kVenice = ORVHDRI_SOURCE_DIR "/examples/venice.exr";

class ImagePaint : public testing::Test {
 protected:
  void SetUp() override {
    orv_log_set_listener(
        [](void* lines, const char* line) {
          static_cast<std::vector<std::string>*>(lines)->emplace_back(line);
        },
        &log_);
    scene_ = orv_scene_create({});
    painter_ = createAVX2Painter();
    painter_->setScene(scene_);
  }
  void TearDown() override {
    destroyAVX2Painter(painter_);
    orv_scene_destroy(scene_);
    orv_log_set_listener(nullptr, nullptr);
  }

  std::vector<std::string> log_;
  orvScene* scene_ = nullptr;
  IPainter* painter_ = nullptr;
};

TEST_F(ImagePaint, TakesTheSizeOfAPicture) {
  ASSERT_TRUE(painter_->setSizeFromImage(kVenice));
  painter_->setBackground(ImageBrush(kVenice));
  const auto map = painter_->paint();
  EXPECT_EQ(map->width, 512);
  EXPECT_EQ(map->height, 256);
}

TEST_F(ImagePaint, ReproducesAPictureOfTheMapsSizeBitForBit) {
  painter_->setSize(512, 256);
  painter_->setBackground(ImageBrush(kVenice));
  const auto map = painter_->paint();
  orvImage* image = orv_image_load(scene_, kVenice.c_str(), orvTexture_profile::environment, true, nullptr);
  ASSERT_TRUE(image);
  // The lossy file holds values a little below 0; they are raised.
  for (std::size_t i = 0; i < map->pixels.size(); ++i) {
    const float* rgb = image->pixels() + 3 * i;
    ASSERT_EQ(map->pixels[i], (Rgb{std::max(rgb[0], 0.0f), std::max(rgb[1], 0.0f), std::max(rgb[2], 0.0f)}))
        << i;
  }
  orv_image_free(scene_, image, false);
}

TEST_F(ImagePaint, TwiceTheSizeShowsEveryPixelFourTimes) {
  painter_->setSize(512, 256);
  painter_->setBackground(ImageBrush(kVenice));
  const auto small = painter_->paint();
  painter_->setSize(1024, 512);
  const auto large = painter_->paint();
  for (std::size_t y = 0; y < 512; ++y)
    for (std::size_t x = 0; x < 1024; ++x)
      ASSERT_EQ(large->pixels[y * 1024 + x], small->pixels[y / 2 * 512 + x / 2]) << x << ',' << y;
}

TEST_F(ImagePaint, BytesDoNotDependOnTheThreads) {
  ImageBrush brush(kVenice);
  brush.adjustments() = {
      .brightness = 0.8f, .gamma = 1.3f, .hueShift = 0.1f, .saturation = 0.4f, .tintRed = 1.1f};
  brush.setBlurAmount(1.5f);
  brush.setTiltAngles(40.0f, 25.0f);
  painter_->setSize(509, 255);
  painter_->setBackground(brush);
  std::shared_ptr<EnvImage> first;
  for (std::size_t threads : {1u, 2u, 7u}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    const auto map = painter_->paint();
    if (!first) first = map;
    EXPECT_EQ(std::memcmp(map->pixels.data(), first->pixels.data(), map->pixels.size() * sizeof(Rgb)), 0)
        << threads << " threads";
  }
}

TEST_F(ImagePaint, AMissingPictureIsNamedAndTheMapIsWhite) {
  painter_->setSize(16, 8);
  painter_->setBackground(ImageBrush("/nowhere/gone.exr"));
  const auto map = painter_->paint();
  for (const Rgb& pixel : map->pixels) ASSERT_EQ(pixel, (Rgb{1, 1, 1}));
  ASSERT_FALSE(log_.empty());
  EXPECT_NE(log_.front().find("/nowhere/gone.exr"), std::string::npos);
  EXPECT_EQ(log_.back(), "Background painting failed, using white instead");
}

TEST_F(ImagePaint, LosesNoHostMemory) {
  const auto before = orv_memory_counters().liveBlocks;
  {
    orvScene* scene = orv_scene_create({});
    IPainter* painter = createAVX2Painter();
    painter->setScene(scene);
    painter->setSize(100, 50);
    painter->setBackground(ImageBrush(kVenice));
    painter->paint();
    destroyAVX2Painter(painter);
    orv_scene_destroy(scene);
  }
  EXPECT_EQ(orv_memory_counters().liveBlocks, before);
}

TEST_F(ImagePaint, EveryFailingAllocationIsSurvived) {
  painter_->setSize(64, 32);
  for (std::uint64_t n = 1; n < 200; ++n) {
    ImageBrush brush(kVenice);
    brush.setBlurAmount(2.0f);
    brush.setTiltAngles(10.0f, 10.0f);
    orv_memory_fail_at(n);
    bool whole = false;
    try {
      whole = painter_->setBackground(brush) && painter_->paint() && painter_->isValid();
    } catch (const std::bad_alloc&) {
    }
    orv_memory_fail_at(0);
    painter_->clear();
    if (whole && log_.empty()) return;  // more allocations than a paint makes
    log_.clear();
  }
  FAIL() << "no paint went through";
}

}  // namespace
}  // namespace orv::hdri
