// Backgrounds beside what the machine's memory allows: the same bytes into fresh and into touched memory,
// memcpy, and a scalar loop with std::pow for the colour adjustments.

#include <benchmark/benchmark.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/conversion.h"
#include "bench/ArrayImage.h"
#include "bench/interleaved.h"
#include "bench/memory.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/IPainter.h"
#include "maps/BlockedMap.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

struct Destroy {
  void operator()(IPainter* painter) const { destroyAVX2Painter(painter); }
};
using Painter = std::unique_ptr<IPainter, Destroy>;

Painter painterOf(std::int32_t width, const Brush& background) {
  Painter painter(createAVX2Painter());
  painter->setSize(width, width / 2);
  painter->setBackground(background);
  return painter;
}

std::size_t bytesOf(std::int64_t width) { return static_cast<std::size_t>(width * width / 2) * 12; }

std::shared_ptr<GradientBrush> gradient() {
  auto brush = std::make_shared<GradientBrush>();
  GradientStop low, high;
  low.r = 0.1f;
  high.position = 1;
  high.b = 3;
  brush->setStops({low, high});
  brush->adjustments().gamma = 1.2f;
  return brush;
}

/// A map into memory that no paint has touched, beside first touch of its bytes on huge pages.
void freshMap(benchmark::State& state, const Brush& brush) {
  const std::int64_t width = state.range(0);
  bench::compare(
      state, "first touch",
      [&] { benchmark::DoNotOptimize(painterOf(static_cast<std::int32_t>(width), brush)->paint()); },
      [&] {
        const bench::Fresh fresh(bytesOf(width));
        bench::writeAll(fresh.data, bytesOf(width));
      });
  state.counters["GB/s"] = static_cast<double>(bytesOf(width)) / state.counters["own_ms"] * 1e-6;
}

/// A map painted again and again, beside writing its bytes into touched memory.
void repaintedMap(benchmark::State& state, const Brush& brush) {
  const std::int64_t width = state.range(0);
  const Painter painter = painterOf(static_cast<std::int32_t>(width), brush);
  const bench::Fresh touched(bytesOf(width));
  bench::compare(
      state, "rewrite", [&] { benchmark::DoNotOptimize(painter->paint()); },
      [&] { bench::writeAll(touched.data, bytesOf(width)); });
  state.counters["GB/s"] = static_cast<double>(bytesOf(width)) / state.counters["own_ms"] * 1e-6;
}

void colorFresh(benchmark::State& state) { freshMap(state, ColorBrush(0.2f, 0.5f, 1.0f)); }
void colorAgain(benchmark::State& state) { repaintedMap(state, ColorBrush(0.2f, 0.5f, 1.0f)); }
void gradientFresh(benchmark::State& state) { freshMap(state, *gradient()); }
void gradientAgain(benchmark::State& state) { repaintedMap(state, *gradient()); }

std::vector<float> picture(std::int64_t width) {
  std::vector<float> rgb(bytesOf(width) / 4);
  for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<float>((i * 2654435761u) % 4096) / 512.0f;
  return rgb;
}

/// An image of the map's size without adjustments, beside memcpy of its bytes.
void imageConverted(benchmark::State& state) {
  const std::int64_t width = state.range(0);
  const std::vector<float> rgb = picture(width);
  BlockedMap map(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(width / 2));
  const bench::Fresh copy(bytesOf(width));
  const ColorAdjustment neutral{Adjustments{}};
  bench::compare(
      state, "memcpy", [&] { benchmark::DoNotOptimize(convertPixels(rgb.data(), neutral, map)); },
      [&] { bench::copyAll(copy.data, rgb.data(), bytesOf(width)); });
  state.counters["Mpixel/s"] = static_cast<double>(bytesOf(width)) / 12 / state.counters["own_ms"] * 1e-3;
}

/// An image of half the map's size, beside the same read pixel by pixel.
void imageScaled(benchmark::State& state) {
  const std::int64_t width = state.range(0);
  const bench::ArrayImage array(width / 2, true), single(width / 2, false);
  BlockedMap map(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(width / 2));
  const ColorAdjustment neutral{Adjustments{}};
  bench::compare(
      state, "get_pixel", [&] { benchmark::DoNotOptimize(convertScaled(array, neutral, map)); },
      [&] { benchmark::DoNotOptimize(convertScaled(single, neutral, map)); });
  state.counters["Mpixel/s"] = static_cast<double>(bytesOf(width)) / 12 / state.counters["own_ms"] * 1e-3;
}

const Adjustments kAll{.brightness = 1.2f,
                       .gamma = 2.2f,
                       .hueShift = 0.1f,
                       .saturation = 0.3f,
                       .tintRed = 1.1f,
                       .tintGreen = 0.9f,
                       .tintBlue = 1.05f};

/// One pixel, every step, as a plain loop would do it.
void scalarPixel(const float* in, float* out) {
  float c[3] = {std::max(in[0], 0.0f), std::max(in[1], 0.0f), std::max(in[2], 0.0f)};
  const float m = std::max({c[0], c[1], c[2]});
  for (float& x : c) x = std::max(x - (m - x) * kAll.saturation, 0.0f);
  float p[4], q[4];
  if (c[1] < c[2]) {
    p[0] = c[2], p[1] = c[1], p[2] = -1, p[3] = 2.0f / 3;
  } else {
    p[0] = c[1], p[1] = c[2], p[2] = 0, p[3] = -1.0f / 3;
  }
  if (c[0] < p[0]) {
    q[0] = p[0], q[1] = p[1], q[2] = p[3], q[3] = c[0];
  } else {
    q[0] = c[0], q[1] = p[1], q[2] = p[2], q[3] = p[0];
  }
  const float chroma = q[0] - std::min(q[3], q[1]), s = chroma / (q[0] + 1e-20f);
  float h = std::abs((q[3] - q[1]) / (6 * chroma + 1e-20f) + q[2]) + kAll.hueShift;
  if (h > 1) h -= 1;
  const float k[3] = {std::abs(6 * h - 3) - 1, 2 - std::abs(6 * h - 2), 2 - std::abs(6 * h - 4)};
  const float tint[3] = {kAll.tintRed, kAll.tintGreen, kAll.tintBlue};
  for (int i = 0; i < 3; ++i) {
    const float v = ((std::clamp(k[i], 0.0f, 1.0f) - 1) * s + 1) * q[0] * kAll.brightness * tint[i];
    out[i] = std::pow(v, 1 / kAll.gamma);
  }
}

/// An image of the map's size with every adjustment, beside a scalar loop with std::pow on the same threads.
void imageAdjusted(benchmark::State& state) {
  const std::int64_t width = state.range(0);
  const std::vector<float> rgb = picture(width);
  BlockedMap map(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(width / 2));
  const bench::Fresh out(bytesOf(width));
  const ColorAdjustment all(kAll);
  bench::compare(
      state, "scalar", [&] { benchmark::DoNotOptimize(convertPixels(rgb.data(), all, map)); },
      [&] {
        tbb::parallel_for(std::int64_t{0}, width / 2, [&](std::int64_t y) {
          for (std::int64_t x = 0; x < width; ++x) {
            const std::int64_t i = 3 * (y * width + x);
            scalarPixel(rgb.data() + i, out.data + i);
          }
        });
      });
  state.counters["Mpixel/s"] = static_cast<double>(bytesOf(width)) / 12 / state.counters["own_ms"] * 1e-3;
}

#define MAP_SIZES                                                                            \
  ->Arg(2048)->Arg(4096)->Arg(8192)->ArgName("width")->UseManualTime()->Iterations(1)->Unit( \
      benchmark::kMillisecond)

BENCHMARK(colorFresh) MAP_SIZES;
BENCHMARK(colorAgain) MAP_SIZES;
BENCHMARK(gradientFresh) MAP_SIZES;
BENCHMARK(gradientAgain) MAP_SIZES;
BENCHMARK(imageConverted) MAP_SIZES;
BENCHMARK(imageScaled) MAP_SIZES;
BENCHMARK(imageAdjusted) MAP_SIZES;

}  // namespace
