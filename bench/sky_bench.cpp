// The reference host's sky: pixels with every table at hand, beside first a new sun and then new air; and
// what the disc of the sun costs beside the rest.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/interleaved.h"
#include "host/orvSky.h"
#include "orvrender/orvHost.h"

namespace {

class Sky {
 public:
  explicit Sky(std::uint32_t width)
      : width_(width), scene_(orv_scene_create({})), sky_(orv_get_sky(scene_)), rgb_(pixels() * 3) {
    sky_->settingsGiven = 1;
    place(0.6);
  }
  ~Sky() { orv_scene_destroy(scene_); }
  Sky(const Sky&) = delete;
  Sky& operator=(const Sky&) = delete;

  std::size_t pixels() const { return std::size_t{width_} * (width_ / 2); }

  void render() {
    sky_->render(nullptr, rgb_.data(), width_, width_ / 2);
    benchmark::DoNotOptimize(rgb_.data());
  }
  void renderNewSun() {
    place(0.6 + 1e-3 * ++changes_);
    render();
  }
  /// Without the disc when `intensity` is 0.
  void renderSun(float intensity) {
    sky_->sunIntensity = intensity;
    render();
  }
  void setSun(double elevation, float size) {
    place(elevation);
    sky_->sunSize = size;
  }
  void renderNewAir() {
    sky_->turbidity = 2.0f + 1e-3f * static_cast<float>(++changes_);
    render();
  }

 private:
  void place(double elevation) {
    const double direction[3] = {-std::cos(elevation), -std::sin(elevation), 0};
    sky_->set_sun_direction(direction);
  }

  std::uint32_t width_;
  orvScene* scene_;
  orvSky* sky_;
  std::vector<float> rgb_;
  int changes_ = 0;
};

/// `cached` is the subject; it is timed turn about with a render that builds its tables.
void rendered(benchmark::State& state, void (Sky::*other)(), const char* name) {
  Sky sky(static_cast<std::uint32_t>(state.range(0)));
  bench::compare(
      state, name, [&] { sky.render(); }, [&] { (sky.*other)(); });
  state.counters["Mpixel/s"] = static_cast<double>(sky.pixels()) / state.counters["own_ms"] * 1e-3;
}

// The turn-about render leaves its tables behind, so that the next plain one finds them.
void skyBesideNewSun(benchmark::State& state) { rendered(state, &Sky::renderNewSun, "new sun"); }
void skyBesideNewAir(benchmark::State& state) { rendered(state, &Sky::renderNewAir, "new air"); }

/// Arguments: the map's width, the sun's elevation in tenths of a degree and its size.
void sunBesideSky(benchmark::State& state) {
  Sky sky(static_cast<std::uint32_t>(state.range(0)));
  sky.setSun(static_cast<double>(state.range(1)) * 0.1 * 3.14159265 / 180,
             static_cast<float>(state.range(2)));
  bench::compare(
      state, "sky", [&] { sky.renderSun(1); }, [&] { sky.renderSun(0); });
}

#define MAP_SIZES                                                                            \
  ->Arg(1024)->Arg(2048)->Arg(4096)->ArgName("width")->UseManualTime()->Iterations(1)->Unit( \
      benchmark::kMillisecond)

BENCHMARK(skyBesideNewSun) MAP_SIZES;
BENCHMARK(skyBesideNewAir) MAP_SIZES;
BENCHMARK(sunBesideSky)
    ->ArgNames({"width", "tenths", "size"})
    ->ArgsProduct({{2048}, {50, 450, 899, 900}, {1, 30}})
    ->Args({256, 900, 30})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
