// Paints that a program cancels while the reference host and the painter work.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "orvrender/orvHost.h"

namespace orv::hdri {
namespace {

const std::string kVenice = ORVHDRI_SOURCE_DIR "/examples/venice.exr";
constexpr int kWidth = 320, kHeight = 160;

/// A painter with a host that sets the flag of cancellation when it hears of a phase.
class Studio {
 public:
  Studio() {
    orv_log_set_listener(
        [](void* heard, const char* line) { static_cast<Lines*>(heard)->emplace_back(line); }, &lines);
    orv_progress_set_listener(scene, &Studio::hear, this);
    orv_cancel_set_flag(scene, &flag);
    painter->setScene(scene);
    painter->setSize(kWidth, kHeight);
    painter->setOptions({.smoothing = 1, .keepBackground = 0});
    // As the session does: pictures come in the map's size.
    orv_image_set_environment_size(scene, kWidth, kHeight);
  }
  ~Studio() {
    destroyAVX2Painter(painter);
    orv_scene_destroy(scene);
    orv_log_set_listener(nullptr, nullptr);
  }
  Studio(const Studio&) = delete;
  Studio& operator=(const Studio&) = delete;

  void setUp(const Brush& background) {
    ASSERT_TRUE(painter->setBackground(background));
    ASSERT_TRUE(painter->addCirclePin({.radius = 0.5f}, ImageBrush(kVenice)));
    ASSERT_TRUE(painter->addCirclePin({.azimuth = 2, .radius = 0.5f}, BackgroundBrush(40, 20)));
  }

  using Lines = std::vector<std::string>;
  Lines lines;
  std::atomic<bool> flag{false};
  std::string phaseThatCancels;
  orvScene* scene = orv_scene_create({});
  IPainter* painter = createAVX2Painter();

 private:
  static void hear(void* user, const char* phase, double) {
    auto& studio = *static_cast<Studio*>(user);
    if (studio.phaseThatCancels == phase) studio.flag = true;
  }
};

std::unique_ptr<Brush> turned(std::unique_ptr<Brush> brush, bool onSphere) {
  brush->setMapSettingsOn(true);
  brush->setBlurOnSphere(onSphere);
  brush->setBlurAmount(20);
  brush->setTiltAngles(30, 10);
  return brush;
}

bool sameBytes(const EnvImage& a, const EnvImage& b) {
  return a.pixels.size() == b.pixels.size() &&
         std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size() * sizeof(Rgb)) == 0;
}

void cancelAtEachPhase(const Brush& background, const std::vector<std::string>& phases) {
  Studio fresh;
  fresh.setUp(background);
  const auto expected = fresh.painter->paint();
  const auto blocks = [] { return orv_memory_counters().liveBlocks; };
  const std::uint64_t blocksBefore = blocks();
  {
    Studio studio;
    studio.setUp(background);
    for (const std::string& phase : phases) {
      studio.phaseThatCancels = phase;
      EXPECT_FALSE(studio.painter->paint()) << phase;
      EXPECT_TRUE(studio.flag) << "there is no phase " << phase;
      studio.phaseThatCancels.clear();
      studio.flag = false;
      const auto next = studio.painter->paint();
      ASSERT_TRUE(next);
      EXPECT_TRUE(sameBytes(*next, *expected)) << "after " << phase;
    }
    EXPECT_THAT(studio.lines, testing::IsEmpty());
    EXPECT_EQ(orv_failure_last(studio.scene), nullptr);
  }
  EXPECT_EQ(blocks(), blocksBefore);
}

TEST(CancelPaint, AnImageAtEachPhase) {
  for (const bool onSphere : {false, true})
    cancelAtEachPhase(*turned(std::make_unique<ImageBrush>(kVenice), onSphere),
                      {"Image Adjustments", "Blur", "Tilt", "Painting Pins"});
}

TEST(CancelPaint, TheSkyAtEachPhase) {
  cancelAtEachPhase(*turned(std::make_unique<SunSkyBrush>(), true),
                    {"Sun & Sky", "Sun & Sky Adjustments", "Blur", "Tilt", "Painting Pins"});
}

TEST(CancelPaint, FromAnotherThreadAtAnyTime) {
  Studio fresh, studio;
  const auto background = turned(std::make_unique<ImageBrush>(kVenice), false);
  fresh.setUp(*background);
  studio.setUp(*background);
  const auto expected = fresh.painter->paint();
  int cancelled = 0;
  for (int i = 0; i < 40; ++i) {
    std::thread other([&] {
      for (int k = 0; k < 500 * i; ++k) std::atomic_signal_fence(std::memory_order_seq_cst);
      studio.flag = true;
    });
    const auto map = studio.painter->paint();
    other.join();
    studio.flag = false;
    if (map) {
      EXPECT_TRUE(sameBytes(*map, *expected));
    } else {
      ++cancelled;
    }
  }
  studio.flag = true;
  EXPECT_FALSE(studio.painter->paint()) << "a flag that was set before";
  studio.flag = false;
  const auto last = studio.painter->paint();
  ASSERT_TRUE(last);
  EXPECT_TRUE(sameBytes(*last, *expected)) << "after " << cancelled << " that were cancelled";
}

TEST(PaintFailure, NamesTheImageAndThePinThatShowsRed) {
  Studio studio;
  ASSERT_TRUE(studio.painter->setBackground(ColorBrush(1, 1, 1)));
  ASSERT_TRUE(studio.painter->addCirclePin({.radius = 0.5f}, ColorBrush(0, 1, 0)));
  ASSERT_TRUE(studio.painter->addCirclePin({.radius = 0.5f}, ImageBrush("/no/lamp.exr")));
  ASSERT_TRUE(studio.painter->paint());
  const orvFailure* const failure = orv_failure_last(studio.scene);
  ASSERT_TRUE(failure);
  EXPECT_STREQ(failure->image, "/no/lamp.exr");
  EXPECT_THAT(failure->reason, testing::HasSubstr("no such file"));
  EXPECT_EQ(failure->pin, 1);
}

TEST(PaintFailure, NamesTheImageOfABackground) {
  Studio studio;
  ASSERT_TRUE(studio.painter->setBackground(ImageBrush("/no/forest.exr")));
  ASSERT_TRUE(studio.painter->paint());
  const orvFailure* const failure = orv_failure_last(studio.scene);
  ASSERT_TRUE(failure);
  EXPECT_STREQ(failure->image, "/no/forest.exr");
  EXPECT_EQ(failure->pin, orvFailure_background);
}

TEST(PaintFailure, ASizeFromAMissingImageIsOfNoPin) {
  Studio studio;
  EXPECT_FALSE(studio.painter->setSizeFromImage("/no/size.exr"));
  const orvFailure* const failure = orv_failure_last(studio.scene);
  ASSERT_TRUE(failure);
  EXPECT_STREQ(failure->image, "/no/size.exr");
  EXPECT_EQ(failure->pin, orvFailure_nowhere);
}

}  // namespace
}  // namespace orv::hdri
