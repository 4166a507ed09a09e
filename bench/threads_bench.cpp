// What one thread does, and passes with all threads beside the same with one.

#include <tbb/global_control.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <numbers>
#include <vector>

#include "backgrounds/BlurSettings.h"
#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/GradientTable.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/blur.h"
#include "backgrounds/conversion.h"
#include "backgrounds/sphere_blur.h"
#include "backgrounds/tilt.h"
#include "bench/ArrayImage.h"
#include "bench/interleaved.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "host/orvSky.h"
#include "maps/BlockedMap.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"
#include "shapes/PixelBatch.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

constexpr std::uint32_t kWidth = 4096;

class OneThread {
  tbb::global_control limit_{tbb::global_control::max_allowed_parallelism, 1};
};

BlockedMap picture() {
  BlockedMap map(kWidth, kWidth / 2);
  for (std::size_t i = 0; i < map.bytes() / 4; ++i)
    map.data()[i] = static_cast<float>((i * 2654435761u) % 4096) / 512.0f;
  return map;
}

/// @param other what is timed turn about, with one thread.
void besideOneThread(benchmark::State& state, const auto& work) {
  bench::compare(state, "one thread", work, [&] {
    const OneThread limit;
    work();
  });
}

void onOneThread(benchmark::State& state, const auto& work) {
  const OneThread limit;
  bench::alone(state, "", work);
  state.counters["Mpixel/s"] = 0.5 * kWidth * kWidth / state.counters["own_ms"] * 1e-3;
}

void blurPass(benchmark::State& state) {
  BlockedMap map = picture();
  BlurSettings settings(0.2f);
  settings.makeKernel(kWidth, kWidth / 2, 1e4f);
  besideOneThread(state, [&] { blur(map, settings, PaintContext()); });
}

void sphereBlurPass(benchmark::State& state) {
  BlockedMap map = picture();
  besideOneThread(state, [&] { blurOnSphere(map, 3.6 * std::numbers::pi / 180, PaintContext()); });
}

void tiltPass(benchmark::State& state) {
  BlockedMap map = picture();
  besideOneThread(state, [&] { tilt(map, {}, TiltSettings(0.5f, 0.3f)); });
}

void adjustPass(benchmark::State& state) {
  const bench::ArrayImage image(kWidth, true);
  BlockedMap map(kWidth, kWidth / 2);
  const ColorAdjustment all({.brightness = 1.2f, .gamma = 2.2f, .hueShift = 0.1f, .saturation = 0.8f});
  besideOneThread(state, [&] { convertPixels(image.pixels(), all, map); });
}

/// The host's sky with its tables ready.
class Sky {
 public:
  Sky()
      : scene_(orv_scene_create({})), sky_(orv_get_sky(scene_)), rgb_(std::size_t{kWidth} * kWidth / 2 * 3) {
    sky_->settingsGiven = 1;
    const double direction[3] = {-0.8, -0.6, 0};
    sky_->set_sun_direction(direction);
  }
  ~Sky() { orv_scene_destroy(scene_); }
  Sky(const Sky&) = delete;
  Sky& operator=(const Sky&) = delete;
  void render() { sky_->render(nullptr, rgb_.data(), kWidth, kWidth / 2); }

 private:
  orvScene* scene_;
  orvSky* sky_;
  std::vector<float> rgb_;
};

void skyPass(benchmark::State& state) {
  Sky sky;
  besideOneThread(state, [&] { sky.render(); });
}

void skyOnOneThread(benchmark::State& state) {
  Sky sky;
  onOneThread(state, [&] { sky.render(); });
}

void imageScaledOnOneThread(benchmark::State& state) {
  const bench::ArrayImage image(kWidth / 2, true);
  BlockedMap map(kWidth, kWidth / 2);
  const ColorAdjustment neutral{Adjustments{}};
  onOneThread(state, [&] { convertScaled(image, neutral, map); });
}

void gradientPins(benchmark::State& state) {
  const std::unique_ptr<BlockedPainter> painter(new (std::nothrow) BlockedPainter(PainterType::avx2));
  painter->setSize(kWidth, kWidth / 2);
  painter->setOptions({1, 1});
  painter->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  GradientBrush gradient;
  gradient.setStops({{}, {.position = 0.4f, .g = 0.5f}, {.position = 1, .r = 0.5f}});
  for (int i = 0; i < 64; ++i) {
    CirclePinParams params;
    params.azimuth = static_cast<float>(std::remainder(2.399963 * i, 2 * std::numbers::pi));
    params.elevation = static_cast<float>(std::asin((2.0 * i + 1) / 64 - 1));
    params.radius = 0.5f;
    painter->addCirclePin(params, gradient);
  }
  besideOneThread(state, [&] { painter->paint(); });
}

/// The colors of a batch of blocks at given positions, on one thread.
void gradientEvaluation(benchmark::State& state) {
  GradientBrush brush;
  std::vector<GradientStop> stops;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    const float x = static_cast<float>(i) / static_cast<float>(state.range(0) - 1);
    stops.push_back({x, 0.5f, 1.5f, x, 1.0f - x, 0.5f, 1.0f + x});
  }
  brush.setStops(std::move(stops));
  const GradientTable table(brush);
  alignas(32) float positions[8 * kBatchBlocks];
  for (std::size_t i = 0; i < 8 * kBatchBlocks; ++i)
    positions[i] = static_cast<float>(i) / (8.0f * kBatchBlocks);
  std::vector<Block> colors(kBatchBlocks);
  const int repeats = bench::smoke() ? 1 : 2000;
  bench::alone(state, "", [&] {
    for (int i = 0; i < repeats; ++i) {
      table.colors(positions, colors);
      benchmark::ClobberMemory();
    }
  });
  state.counters["ns_per_block"] =
      state.counters["own_ms"].value * 1e6 / (static_cast<double>(repeats) * kBatchBlocks);
}

#define ONCE ->UseManualTime()->Iterations(1)

BENCHMARK(skyOnOneThread) ONCE;
BENCHMARK(imageScaledOnOneThread) ONCE;
BENCHMARK(gradientEvaluation) ONCE->ArgName("stops")->Arg(2)->Arg(4)->Arg(7)->Arg(12);
BENCHMARK(blurPass)->Name("threads/blur") ONCE;
BENCHMARK(sphereBlurPass)->Name("threads/sphere_blur") ONCE;
BENCHMARK(tiltPass)->Name("threads/tilt") ONCE;
BENCHMARK(adjustPass)->Name("threads/adjust") ONCE;
BENCHMARK(skyPass)->Name("threads/sky") ONCE;
BENCHMARK(gradientPins)->Name("threads/gradients") ONCE;

}  // namespace
