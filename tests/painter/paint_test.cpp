#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

class Paint : public testing::Test {
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
  long loads() const {
    long n = 0;
    for (const std::string& call : host_.calls()) n += call.starts_with("orv_image_load");
    return n;
  }

  FakeHost& host_ = FakeHost::instance();
  BlockedPainter* painter_ = nullptr;
  std::int64_t blocksBefore_ = 0;
};

TEST_F(Paint, WithoutABackgroundIsEmptyAndSilent) {
  EXPECT_EQ(painter_->paint(), nullptr);
  EXPECT_FALSE(painter_->isValid());
  EXPECT_TRUE(host_.calls().empty());
  EXPECT_TRUE(host_.log().empty());
}

TEST_F(Paint, GivesAMapOfTheSizeWithTheBackgroundsPixels) {
  painter_->setSize(11, 3);
  painter_->setBackground(ColorBrush(0.25f, 2, 1000));
  const auto map = painter_->paint();
  ASSERT_TRUE(map);
  EXPECT_EQ(map->width, 11);
  EXPECT_EQ(map->height, 3);
  EXPECT_THAT(map->pixels, Each(Rgb{0.25f, 2, 1000}));
  EXPECT_TRUE(painter_->isValid());
}

TEST_F(Paint, WritesEveryPixelOfARowWhateverItsWidth) {
  for (int width = 1; width <= 17; ++width) {
    painter_->setSize(width, 2);
    painter_->setBackground(ColorBrush(1, 2, 3));
    const std::shared_ptr<EnvImage> map = painter_->paint();
    ASSERT_EQ(map->pixels.size(), 2 * static_cast<std::size_t>(width));
    for (const Rgb& pixel : map->pixels) EXPECT_TRUE(pixel.r == 1 && pixel.g == 2 && pixel.b == 3) << width;
  }
}

TEST_F(Paint, OfZeroSizeRunsTheBackgroundAndIsEmpty) {
  painter_->setSize(0, 0);
  painter_->setBackground(ColorBrush(1, 1, 1));
  EXPECT_EQ(painter_->paint(), nullptr);
  EXPECT_TRUE(painter_->isValid());
  EXPECT_TRUE(host_.progressAmounts().empty());
}

TEST_F(Paint, OfZeroWidthRunsNoRows) {
  painter_->setSize(0, 3);
  painter_->setBackground(ColorBrush(1, 1, 1));
  EXPECT_EQ(painter_->paint(), nullptr);
  EXPECT_TRUE(painter_->isValid());
  EXPECT_TRUE(host_.progressAmounts().empty());
}

// Not a test of time, though rows or columns that were run would take minutes, or memory that is not there.
TEST_F(Paint, OfASideOfZeroIsEmptyHoweverLongTheOtherIs) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  host_.images["map.exr"] = std::make_unique<FakeImage>(4, 2);
  host_.sky = std::make_unique<FakeSky>();
  ImageBrush image("map.exr");
  SunSkyBrush sky;
  const GradientBrush gradient;
  for (Brush* brush : {static_cast<Brush*>(&image), static_cast<Brush*>(&sky)}) {
    brush->setBlurAmount(10);
    brush->setTiltAngles(30, 20);
  }
  for (const bool onSphere : {false, true}) {
    image.setBlurOnSphere(onSphere);
    sky.setBlurOnSphere(onSphere);
    for (const Brush* brush : {static_cast<const Brush*>(&image), static_cast<const Brush*>(&sky),
                               static_cast<const Brush*>(&gradient)})
      for (const auto& [width, height] : {std::pair{0, kMost}, std::pair{kMost, 0}}) {
        painter_->setSize(width, height);
        ASSERT_TRUE(painter_->setBackground(*brush));
        ASSERT_TRUE(painter_->addCirclePin({}, ColorBrush(1, 1, 1)));
        ASSERT_TRUE(painter_->addCirclePin({}, BackgroundBrush(10, 20)));
        EXPECT_EQ(painter_->paint(), nullptr) << width << " x " << height;
        painter_->clear();
      }
  }
}

TEST_F(Paint, ReportsItsPhaseAndOneStepARow) {
  painter_->setSize(4, 8);
  painter_->setBackground(ColorBrush(1, 1, 1));
  painter_->paint();
  EXPECT_THAT(host_.calls(), ElementsAre("orv_progress_set(scene, \"Painting Pins\", 0)"));
  EXPECT_THAT(host_.progressAmounts(), testing::AllOf(testing::SizeIs(8), Each(0.125f)));
}

TEST_F(Paint, AgainPreparesTheBackgroundAgain) {
  host_.images["a"] = std::make_unique<FakeImage>(4, 2);
  painter_->setBackground(ImageBrush("a"));
  painter_->paint();
  painter_->paint();
  EXPECT_EQ(loads(), 2);
}

TEST_F(Paint, KeepsThePreparedBackgroundWhenAskedTo) {
  host_.images["a"] = std::make_unique<FakeImage>(4, 2, std::vector<float>(24, 0.5f));
  painter_->setOptions({.smoothing = 0, .keepBackground = 1});
  painter_->setBackground(ImageBrush("a"));
  painter_->paint();
  const auto second = painter_->paint();
  EXPECT_EQ(loads(), 1);
  EXPECT_THAT(second->pixels, Each(Rgb{0.5f, 0.5f, 0.5f}));
  painter_->setSize(8, 2);
  painter_->paint();
  EXPECT_EQ(loads(), 2);
}

TEST_F(Paint, AFailedBackgroundTurnsWhiteForGood) {
  painter_->setBackground(ImageBrush("gone"));
  EXPECT_THAT(painter_->paint()->pixels, Each(Rgb{1, 1, 1}));
  EXPECT_THAT(host_.log(), ElementsAre("Failed to find image 'gone' used environment painter\n",
                                       "Background painting failed, using white instead\n"));
  EXPECT_TRUE(painter_->hasBackground());
  EXPECT_TRUE(painter_->isValid());
  painter_->paint();
  EXPECT_EQ(host_.log().size(), 2u);
}

TEST_F(Paint, ResultsAreIndependentOfEachOtherAndOfThePainter) {
  painter_->setBackground(ColorBrush(1, 1, 1));
  const auto first = painter_->paint();
  painter_->setBackground(ColorBrush(2, 2, 2));
  const auto second = painter_->paint();
  EXPECT_THAT(first->pixels, Each(Rgb{1, 1, 1}));
  EXPECT_THAT(second->pixels, Each(Rgb{2, 2, 2}));
}

TEST_F(Paint, TooManyPixelsAreALengthErrorBeforeAnyPass) {
  painter_->setBackground(ImageBrush("a"));
  painter_->setSize(65536, 65536);
  EXPECT_THROW(painter_->paint(), std::length_error);
  EXPECT_TRUE(host_.calls().empty());
  EXPECT_FALSE(painter_->isValid());
}

TEST_F(Paint, WithoutMemoryForTheRowsThrowsAndPaintsAgainLater) {
  painter_->setBackground(ColorBrush(3, 3, 3));
  host_.failAllocation(1);
  EXPECT_THROW(painter_->paint(), std::bad_alloc);
  EXPECT_THAT(painter_->paint()->pixels, Each(Rgb{3, 3, 3}));
}

TEST_F(Paint, WithoutMemoryForTheMapHandsTheImageBackAndThrows) {
  host_.images["a"] = std::make_unique<FakeImage>(4, 2);
  painter_->setBackground(ImageBrush("a"));
  host_.failAllocation(1);
  EXPECT_THROW(painter_->paint(), std::bad_alloc);
  EXPECT_THAT(host_.calls(), Contains(StartsWith("orv_image_free(")));
}

TEST_F(Paint, EveryWidthIsStoredWhole) {
  for (std::int32_t width = 1; width <= 33; ++width) {
    std::vector<float> rgb(static_cast<std::size_t>(3 * width * 2));
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<float>(i);
    host_.images["a"] = std::make_unique<FakeImage>(static_cast<std::uint32_t>(width), 2, rgb);
    painter_->setSize(width, 2);
    painter_->setBackground(ImageBrush("a"));
    const auto map = painter_->paint();
    for (std::size_t i = 0; i < map->pixels.size(); ++i) {
      ASSERT_EQ(map->pixels[i], (Rgb{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]}))
          << width << " wide, pixel " << i;
    }
  }
}

TEST_F(Paint, AFailedPreparationIsNotKept) {
  host_.images["a"] = std::make_unique<FakeImage>(4, 2, std::vector<float>(24, 0.5f));
  ImageBrush brush("a");
  brush.setBlurAmount(60);
  brush.setTiltAngles(40, 20);
  int failures = 0;
  for (std::int64_t n = 1; n < 100; ++n) {
    painter_->setOptions({.smoothing = 0, .keepBackground = 0});
    painter_->setBackground(brush);
    ASSERT_TRUE(painter_->paint());
    ASSERT_TRUE(painter_->isValid());
    host_.failAllocation(n);
    bool failed = false;
    try {
      painter_->paint();
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    host_.failAllocation(0);
    if (!failed) break;
    ++failures;
    painter_->setOptions({.smoothing = 0, .keepBackground = 1});
    const auto map = painter_->paint();
    ASSERT_TRUE(map) << n;
    for (const Rgb& pixel : map->pixels) ASSERT_NEAR(pixel.g, 0.5f, 1e-5f) << n;
  }
  EXPECT_GE(failures, 3);
}

TEST_F(Paint, AFailedWhiteFallbackIsNotKept) {
  painter_->setOptions({.smoothing = 0, .keepBackground = 1});
  painter_->setBackground(ImageBrush("missing"));
  host_.failAllocation(1);
  EXPECT_THROW(painter_->paint(), std::bad_alloc);
  host_.failAllocation(0);
  EXPECT_FALSE(painter_->isValid());
  EXPECT_FALSE(painter_->hasBackground());
}

TEST_F(Paint, OfACancelledGroupOfTheHostIsWhole) {
  painter_->setSize(64, 512);
  painter_->setBackground(ColorBrush(0.25f, 0.5f, 4));
  std::shared_ptr<EnvImage> map;
  tbb::task_group_context context;
  tbb::parallel_for(
      0, 1,
      [&](int) {
        context.cancel_group_execution();
        map = painter_->paint();
      },
      tbb::simple_partitioner(), context);
  ASSERT_TRUE(map);
  EXPECT_THAT(map->pixels, Each(Rgb{0.25f, 0.5f, 4}));
}

TEST_F(Paint, ALookUpThatWaitsInsideALoopOfTheHostChangesNoPixel) {
  host_.images["a"] = std::make_unique<FakeImage>(4, 2);
  painter_->setSize(8, 128);
  painter_->setBackground(ColorBrush(0, 0, 0));
  painter_->addCirclePin({.radius = 2.0f}, ImageBrush("a"));
  painter_->addCirclePin({.azimuth = 1, .radius = 2.0f}, ImageBrush("a"));
  const auto expected = painter_->paint();
  host_.images["a"]->onLookup = [](orvImage_lookup& lookup) {
    // Long enough that another thread takes a part, for which this one then waits.
    const auto pause = [](int) { std::this_thread::sleep_for(std::chrono::microseconds(100)); };
    tbb::parallel_for(0, 3, pause, tbb::simple_partitioner());
    lookup.rgba[0] = lookup.u;
    lookup.rgba[1] = lookup.v;
    lookup.rgba[2] = 0;
    lookup.rgba[3] = 1;
  };
  // More threads than rows at the end, so that some are idle while others wait.
  const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 8);
  tbb::task_arena arena(8);
  EXPECT_EQ(arena.execute([&] { return painter_->paint(); })->pixels, expected->pixels);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
