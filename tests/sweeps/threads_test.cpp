// Painters among threads: the host's, oneTBB's and each other's.

#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "apps/Program.h"
#include "host/orvLog.h"
#include "host/orvProgress.h"
#include "maps/row_loop.h"
#include "orvrender/orvHost.h"
#include "sweeps/soak.h"
#include "sweeps/sweep_scenes.h"

namespace orv::hdri {
namespace {

using sweeps::SweepScene;

class Threads : public testing::Test {
 protected:
  Threads() {
    sweeps::writePicture(folder_ / "a.pfm");
    scenes_ = sweeps::sweepScenes(folder_ / "", ORVHDRI_SOURCE_DIR);
    orv_log_set_listener([](void*, const char*) {}, nullptr);
  }
  ~Threads() override { orv_log_set_listener(nullptr, nullptr); }

  /// A paint of a scene by a painter and in a host of its own.
  static std::shared_ptr<EnvImage> paint(const SweepScene& scene, orvProgress_listener listener = nullptr,
                                         void* user = nullptr) {
    orvScene_options options;
    options.sky = scene.hasSky;
    orvScene* const host = orv_scene_create(options);
    orv_progress_set_listener(host, listener, user);
    IPainter* const painter = createAVX2Painter();
    painter->setScene(host);
    std::shared_ptr<EnvImage> map;
    if (scene.setUp(*painter)) map = painter->paint();
    destroyAVX2Painter(painter);
    orv_scene_destroy(host);
    return map;
  }

  static bool equal(const std::shared_ptr<EnvImage>& a, const std::shared_ptr<EnvImage>& b) {
    return a && b && a->pixels.size() == b->pixels.size() &&
           std::memcmp(a->pixels.data(), b->pixels.data(), a->pixels.size() * sizeof(Rgb)) == 0;
  }

  const SweepScene& everything() const { return scenes_.back(); }

  TestFolder folder_;
  std::vector<SweepScene> scenes_;
};

TEST_F(Threads, TwoPaintersInTwoThreadsPaintWhatEachPaintsAlone) {
  std::vector<std::shared_ptr<EnvImage>> alone;
  for (const SweepScene& scene : scenes_) alone.push_back(paint(scene));
  std::atomic<int> different{0};
  const auto run = [&](std::size_t first) {
    const auto count = static_cast<std::size_t>(sweeps::rounds(1, 20)) * scenes_.size();
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t scene = (first + i) % scenes_.size();
      if (!equal(paint(scenes_[scene]), alone[scene])) ++different;
    }
  };
  std::thread one(run, 0);
  std::thread two(run, scenes_.size() / 2);
  one.join();
  two.join();
  EXPECT_EQ(different, 0);
}

TEST_F(Threads, LogAndProgressAreTakenFromOtherThreadsDuringPaints) {
  const auto alone = paint(everything());
  orvScene* const host = orv_scene_create({});
  std::atomic<bool> over{false};
  std::atomic<int> heard{0};
  const auto hear = [](void* user, const char*, double) { ++*static_cast<std::atomic<int>*>(user); };
  std::thread talker([&] {
    while (!over) {
      orv_critical("a line of the host\n");
      orv_progress_set(host, "the host's own", 0);
      orv_progress_add(host, 0.01f);
    }
  });
  std::thread listener([&] {
    while (!over) {
      orv_log_set_listener([](void*, const char*) {}, nullptr);
      orv_progress_set_listener(host, hear, &heard);
      orv_progress_set_listener(host, nullptr, nullptr);
    }
  });
  for (int i = 0; i < sweeps::rounds(3, 100); ++i) {
    IPainter* const painter = createAVX2Painter();
    painter->setScene(host);
    EXPECT_TRUE(everything().setUp(*painter));
    EXPECT_TRUE(equal(painter->paint(), alone));
    destroyAVX2Painter(painter);
  }
  over = true;
  talker.join();
  listener.join();
  orv_scene_destroy(host);
}

TEST_F(Threads, BytesAreEqualWithAnyNumberOfThem) {
  const tbb::global_control allowed(tbb::global_control::max_allowed_parallelism, 16);
  const auto expected = paint(everything());
  for (int i = 0; i < sweeps::rounds(4, 100); ++i) {
    for (const int threads : {1, 2, 3, 7, 16}) {
      tbb::task_arena arena(threads);
      std::shared_ptr<EnvImage> map;
      arena.execute([&] { map = paint(everything()); });
      ASSERT_TRUE(equal(map, expected)) << threads << " threads, run " << i;
    }
  }
}

TEST_F(Threads, NestedGroupsOfTheHostPaintWhole) {
  std::vector<std::shared_ptr<EnvImage>> alone;
  for (const SweepScene& scene : scenes_) alone.push_back(paint(scene));
  std::atomic<int> different{0};
  const auto paintTwice = [&](std::size_t i) {
    const LoopOrder::Body body;
    tbb::task_group group;
    const LoopOrder inner;
    for (int k = 0; k < 2; ++k)
      group.run([&, i] {
        const LoopOrder::Body task;
        if (!equal(paint(scenes_[i]), alone[i])) ++different;
      });
    group.wait();
  };
  // The thread sanitizer does not see what oneTBB orders.
  const LoopOrder order;
  tbb::parallel_for(std::size_t{0}, scenes_.size(), paintTwice);
  EXPECT_EQ(different, 0);
}

TEST_F(Threads, AGroupThatTheHostCancelsPaintsWhole) {
  const auto alone = paint(everything());
  for (int i = 0; i < sweeps::rounds(4, 100); ++i) {
    tbb::task_group group;
    std::atomic<bool> begun{false};
    std::shared_ptr<EnvImage> map;
    std::optional<LoopOrder> order(std::in_place);
    group.run([&] {
      const LoopOrder::Body task;
      begun = true;
      map = paint(everything());
    });
    // Another thread cancels while this one runs the task.
    std::thread canceller([&] {
      while (!begun) std::this_thread::yield();
      group.cancel();
    });
    group.wait();
    order.reset();
    begun = true;
    canceller.join();
    ASSERT_TRUE(equal(map, alone));
  }
}

TEST_F(Threads, ProgressThatRunsLoopsOfItsOwnChangesNothing) {
  const auto alone = paint(everything());
  std::atomic<long> sum{0};
  const auto work = [](void* user, const char*, double) {
    const auto add = [&](int k) {
      const LoopOrder::Body body;
      *static_cast<std::atomic<long>*>(user) += k;
    };
    const LoopOrder order;
    tbb::parallel_for(0, 8, add);
  };
  for (int i = 0; i < sweeps::rounds(2, 50); ++i) EXPECT_TRUE(equal(paint(everything(), work, &sum), alone));
  EXPECT_GT(sum, 0);
}

}  // namespace
}  // namespace orv::hdri
