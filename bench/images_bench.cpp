// The reference host's images scaled to another size, beside std::memcpy of the pixels that are read.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/interleaved.h"
#include "host/orvImage.h"
#include "orvrender/orvHost.h"

namespace {

/// A picture of the size in a file, loaded.
class Picture {
 public:
  Picture(std::uint32_t width, std::uint32_t height) : rgb_(std::size_t{3} * width * height) {
    for (std::size_t i = 0; i < rgb_.size(); ++i)
      rgb_[i] = static_cast<float>(i * 2654435761u % 65536) / 1024;
    std::ofstream file(path_, std::ios::binary);
    file << "PF\n" << width << ' ' << height << "\n-1.0\n";
    file.write(reinterpret_cast<const char*>(rgb_.data()), static_cast<std::streamsize>(bytes()));
    file.close();
    // Without a budget a scaled image goes as soon as it is handed back; the file's pixels stay in use.
    orvScene_options options;
    options.imageCacheBytes = 0;
    scene_ = orv_scene_create(options);
    pixels_ = load()->pixels();
  }
  ~Picture() {
    orv_scene_destroy(scene_);
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  std::size_t bytes() const { return rgb_.size() * sizeof(float); }
  void scale(std::uint32_t width, std::uint32_t height) {
    orv_image_set_environment_size(scene_, width, height);
    orvImage* const image = load();
    benchmark::DoNotOptimize(image->pixels());
    orv_image_free(scene_, image, false);
  }
  void copy() {
    std::memcpy(rgb_.data(), pixels_, bytes());
    benchmark::DoNotOptimize(rgb_.data());
  }

 private:
  orvImage* load() {
    return orv_image_load(scene_, path_.c_str(), orvTexture_profile::environment, true, nullptr);
  }

  const std::string path_ = (std::filesystem::temp_directory_path() / "orvhdri_images_bench.pfm").string();
  std::vector<float> rgb_;
  orvScene* scene_;
  const float* pixels_;
};

/// Arguments: the width of the picture and of the scaled one, twice as wide as high.
void scaleBesideCopy(benchmark::State& state) {
  const auto from = static_cast<std::uint32_t>(state.range(0)),
             to = static_cast<std::uint32_t>(state.range(1));
  Picture picture(from, from / 2);
  bench::compare(
      state, "memcpy", [&] { picture.scale(to, to / 2); }, [&] { picture.copy(); });
  const double pixels = static_cast<double>(std::max(from, to)) * std::max(from, to) / 2;
  state.counters["Mpixel/s"] = pixels / state.counters["own_ms"] * 1e-3;
}

BENCHMARK(scaleBesideCopy)
    ->ArgNames({"from", "to"})
    ->Args({4096, 2048})
    ->Args({4096, 1000})
    ->Args({4096, 4000})
    ->Args({4096, 64})
    ->Args({2048, 4096})
    ->Args({1000, 4096})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
