// Painters that live long and processes that make many.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include "apps/Program.h"
#include "orvrender/orvHost.h"
#include "sweeps/soak.h"
#include "sweeps/sweep_scenes.h"

namespace orv::hdri {
namespace {

/// Resident memory of this process in bytes, after what is free has been given back.
long residentBytes() {
  malloc_trim(0);
  long pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

class LongLife : public testing::Test {
 protected:
  LongLife() {
    sweeps::writePicture(folder_ / "a.pfm");
    scenes_ = sweeps::sweepScenes(folder_ / "", ORVHDRI_SOURCE_DIR);
    orv_log_set_listener([](void*, const char*) {}, nullptr);
  }
  ~LongLife() override { orv_log_set_listener(nullptr, nullptr); }

  TestFolder folder_;
  std::vector<sweeps::SweepScene> scenes_;
};

TEST_F(LongLife, MemoryIsFlatAfterTheFirstHundredCycles) {
  if (ORVHDRI_SANITIZED) GTEST_SKIP() << "a sanitizer keeps what is freed";
  const auto cycle = [&](int i) {
    const sweeps::SweepScene& scene = scenes_[static_cast<std::size_t>(i) % scenes_.size()];
    orvScene_options options;
    options.sky = scene.hasSky;
    orvScene* const host = orv_scene_create(options);
    IPainter* const painter = createAVX2Painter();
    painter->setScene(host);
    EXPECT_TRUE(scene.setUp(*painter));
    EXPECT_TRUE(painter->paint());
    destroyAVX2Painter(painter);
    orv_scene_destroy(host);
  };
  // Four times round all scenes: the first hundred.
  const int first = 4 * static_cast<int>(scenes_.size());
  int i = 0;
  for (; i < first; ++i) cycle(i);
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  const long before = residentBytes();
  for (const int end = first + sweeps::rounds(500, 10000); i < end; ++i) cycle(i);
  const long after = residentBytes();
  std::printf("%d cycles: %ld KiB, then %ld KiB\n", i, before / 1024, after / 1024);
  EXPECT_EQ(orv_memory_counters().liveBlocks, blocks);
  // The C library's arenas of threads breathe; a block lost in each cycle would show many times over.
  EXPECT_LT(after, before + (long{4} << 20));
}

TEST_F(LongLife, RepaintsOverAKeptBackgroundAreFreshPaints) {
  orvScene* const host = orv_scene_create({});
  const std::string venice = ORVHDRI_SOURCE_DIR "/examples/venice.exr";
  const auto background = [&](IPainter& painter, int i) {
    ImageBrush image(venice);
    image.setBlurAmount(static_cast<float>(i % 3));
    image.setTiltAngles(static_cast<float>(i), 10);
    return i % 2 ? painter.setBackground(image) : painter.setBackground(*sweeps::sweepGradient());
  };
  const auto pins = [&](IPainter& painter, int i) {
    const float angle = static_cast<float>(i % 61) * 0.1f - 3.0f;
    bool added = painter.addCirclePin(sweeps::sweepCircle(angle, angle * 0.4f, 0.5f), ColorBrush(1, 2, 3));
    if (i % 3 == 0) added = added && sweeps::addPortals(painter);
    if (i % 5 == 0) added = added && painter.addRectPin(sweeps::sweepRect(angle, 0.3f), ImageBrush(venice));
    if (i % 7 == 0) added = added && sweeps::addRects(painter);
    return added;
  };
  const auto make = [&](bool keep) {
    IPainter* const painter = createAVX2Painter();
    painter->setScene(host);
    painter->setSize(sweeps::kWidth, sweeps::kHeight);
    painter->setOptions({0, static_cast<std::uint8_t>(keep)});
    return std::unique_ptr<IPainter, void (*)(IPainter*)>(painter, destroyAVX2Painter);
  };
  const auto kept = make(true);
  for (int i = 0; i < sweeps::rounds(100, 1000); ++i) {
    // The background stays for twenty paints.
    const int set = i / 20;
    if (i % 20 == 0) {
      ASSERT_TRUE(background(*kept, set));
    }
    ASSERT_TRUE(pins(*kept, i));
    const auto map = kept->paint();
    kept->clear();
    const auto fresh = make(false);
    ASSERT_TRUE(background(*fresh, set) && pins(*fresh, i));
    const auto expected = fresh->paint();
    ASSERT_EQ(map->pixels.size(), expected->pixels.size());
    ASSERT_EQ(std::memcmp(map->pixels.data(), expected->pixels.data(), map->pixels.size() * sizeof(Rgb)), 0)
        << "repaint " << i;
  }
  orv_scene_destroy(host);
}

}  // namespace
}  // namespace orv::hdri
