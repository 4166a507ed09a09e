// Paints one scene over and over, and each time lets one request fail: the n-th block of host memory, the
// n-th `operator new` or the n-th image. A program of its own, because a library below may not survive it.
// usage: fault_sweep SCENE-NUMBER host|new|image FIRST-N PICTURES SOURCE
// Says "at N" before each paint and at last "done N", or what is wrong.
#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "host/orvImage.h"
#include "host/orvMemory.h"
#include "orvrender/orvHost.h"
#include "sweeps/sweep_scenes.h"

namespace {

/// Requests until one fails; 0 and below: none will.
std::atomic<std::int64_t> failNew{0};
std::atomic<std::int64_t> failImage{0};

bool isToFail(std::atomic<std::int64_t>& counter) {
  return counter.load(std::memory_order_relaxed) > 0 && counter.fetch_sub(1) == 1;
}

void* allocate(std::size_t bytes, std::size_t alignment) {
  void* const storage = isToFail(failNew)
                            ? nullptr
                            : std::aligned_alloc(alignment, (bytes + alignment) / alignment * alignment);
  if (!storage) throw std::bad_alloc();
  return storage;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t bytes) { return allocate(bytes, 16); }
[[gnu::noinline]] void* operator new[](std::size_t bytes) { return allocate(bytes, 16); }
[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t alignment) {
  return allocate(bytes, static_cast<std::size_t>(alignment));
}
[[gnu::noinline]] void* operator new[](std::size_t bytes, std::align_val_t alignment) {
  return allocate(bytes, static_cast<std::size_t>(alignment));
}
[[gnu::noinline]] void operator delete(void* storage) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete[](void* storage) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete(void* storage, std::size_t) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete[](void* storage, std::size_t) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete(void* storage, std::align_val_t) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete[](void* storage, std::align_val_t) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete(void* storage, std::size_t, std::align_val_t) noexcept {
  std::free(storage);
}
[[gnu::noinline]] void operator delete[](void* storage, std::size_t, std::align_val_t) noexcept {
  std::free(storage);
}

/// The host's, but for the one that fails.
extern "C" orvImage* orv_image_load(orvScene* scene, const char* path, orvTexture_profile profile,
                                    bool cached, const void* options) {
  static const auto load = reinterpret_cast<decltype(&orv_image_load)>(dlsym(RTLD_NEXT, "orv_image_load"));
  return isToFail(failImage) ? nullptr : load(scene, path, profile, cached, options);
}

namespace {

using namespace orv::hdri;
using sweeps::SweepScene;

std::atomic<int> logLines{0};

[[noreturn]] void fail(std::int64_t n, const char* finding) {
  std::printf("FAILED at %lld: %s\n", static_cast<long long>(n), finding);
  std::exit(1);
}

bool equal(const std::shared_ptr<EnvImage>& a, const std::shared_ptr<EnvImage>& b) {
  return a && b && a->width == b->width && a->height == b->height &&
         std::memcmp(a->pixels.data(), b->pixels.data(), a->pixels.size() * sizeof(Rgb)) == 0;
}

void arm(const std::string& kind, std::int64_t n) {
  if (kind == "host") orv_memory_fail_at(static_cast<std::uint64_t>(n));
  if (kind == "new") failNew = n;
  if (kind == "image") failImage = n;
}

/// Calls the fault off. @return whether it had struck.
bool disarm(const std::string& kind) {
  if (kind == "new") return failNew.exchange(0) <= 0;
  if (kind == "image") return failImage.exchange(0) <= 0;
  // The host does not tell what is left: one that still fails did not strike.
  bool struck = true;
  for (int i = 0; i < 16 && struck; ++i) {
    void* const block = orv_malloc(8);
    if (!block) struck = false;
    orv_free(block);
  }
  orv_memory_fail_at(0);
  return struck;
}

/// Scene and painter for one round.
struct Stage {
  explicit Stage(const SweepScene& scene) {
    orvScene_options options;
    options.sky = scene.hasSky;
    host = orv_scene_create(options);
    painter = createAVX2Painter();
    if (host && painter) painter->setScene(host);
  }
  ~Stage() {
    destroyAVX2Painter(painter);
    orv_scene_destroy(host);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  orvScene* host = nullptr;
  IPainter* painter = nullptr;
};

/// One paint in which the n-th request fails, and one that follows it undisturbed.
/// @return whether the fault struck.
bool round(const SweepScene& scene, const std::string& kind, std::int64_t n,
           const std::shared_ptr<EnvImage>& expected) {
  logLines = 0;
  arm(kind, n);
  Stage stage(scene);
  std::shared_ptr<EnvImage> map;
  bool refused = !stage.host || !stage.painter;
  if (!refused) {
    try {
      refused = !scene.setUp(*stage.painter);
      map = stage.painter->paint();
    } catch (const std::bad_alloc&) {
      refused = true;
    }
  }
  const bool struck = disarm(kind);
  // A call that says nothing has done what was asked.
  if (!refused && logLines == 0 && !equal(map, expected)) fail(n, "another map, and nobody said so");
  if (!struck && !refused && !equal(map, expected)) fail(n, "another map, and nothing failed");
  if (!stage.host || !stage.painter) return struck;
  map.reset();
  stage.painter->clear();
  if (!scene.setUp(*stage.painter)) fail(n, "refused after the fault");
  if (!equal(stage.painter->paint(), expected)) fail(n, "another map after the fault");
  return struck;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  orv_log_set_listener([](void*, const char*) { ++logLines; }, nullptr);
  const std::string kind = argv[2];
  const auto scenes = sweeps::sweepScenes(argv[4], argv[5]);
  const auto number = static_cast<std::size_t>(std::atoi(argv[1]));
  if (number >= scenes.size()) {
    std::printf("none\n");
    return 0;
  }
  const SweepScene& scene = scenes[number];
  std::printf("scene %s%s\n", scene.name.c_str(), scene.usesImageLibrary ? " (OpenImageIO)" : "");
  std::shared_ptr<EnvImage> expected;
  {
    const Stage stage(scene);
    if (!scene.setUp(*stage.painter)) fail(0, "refused");
    expected = stage.painter->paint();
  }
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  std::int64_t n = std::atoll(argv[3]);
  for (;; ++n) {
    std::printf("at %lld\n", static_cast<long long>(n));
    const bool struck = round(scene, kind, n, expected);
    if (orv_memory_counters().liveBlocks != blocks) fail(n, "host memory is lost");
    if (!struck) break;
  }
  std::printf("done %lld\n", static_cast<long long>(n - 1));
  return 0;
}
