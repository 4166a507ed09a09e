// Loads any bytes as an image file, with limits that keep a run small, and looks at what comes of it.
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/orvImage.h"
#include "orvrender/orvHost.h"

namespace {

orvScene* makeScene() {
  orv_log_set_listener([](void*, const char*) {}, nullptr);
  orvScene_options options;
  options.sky = false;
  options.maxImageSide = 4096;
  options.maxImagePixels = std::uint64_t{1} << 18;
  return orv_scene_create(options);
}

/// Every pixel is finite, and look-ups over the image are.
void examine(orvImage& image, bool filter) {
  const std::size_t values = std::size_t{3} * image.width() * image.height();
  for (std::size_t i = 0; i < values; ++i) {
    if (!std::isfinite(image.pixels()[i])) std::abort();
  }
  if (filter) image.set_filter_mode(orvFilter_mode::anisotropic);
  for (int i = 0; i < 8; ++i) {
    orvImage_lookup lookup;
    lookup.u = 0.15f * static_cast<float>(i);
    lookup.v = 1 - lookup.u;
    lookup.dsdx = 0.01f * static_cast<float>(i);
    lookup.dtdy = 0.05f;
    image.lookup(lookup);
    if (std::isnan(lookup.rgba[0])) std::abort();
    image.lookup_filtered(lookup);
    if (std::isnan(lookup.rgba[0])) std::abort();
  }
}

}  // namespace

// The decoders of PNG and JPEG leave by longjmp, which leaks strings of the image library. Memory of ours is
// counted below. A header that asks for more memory than there is must be refused, not end the run.
extern "C" const char* __asan_default_options() { return "detect_leaks=0:allocator_may_return_null=1"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static orvScene* const scene = makeScene();
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  const int file = memfd_create("image", 0);
  if (file < 0) std::abort();
  if (size > 0 && write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  const auto profile = size % 2 == 0 ? orvTexture_profile::environment : orvTexture_profile::data;
  if (orvImage* const image = orv_image_load(scene, path.c_str(), profile, false, nullptr)) {
    examine(*image, size % 8 < 2);
    orv_image_free(scene, image, true);
  }
  close(file);
  if (orv_memory_counters().liveBlocks != blocks) std::abort();
  return 0;
}
