// Whole paints with pins on all cores, beside the same paint without them and, for few pins, beside a scalar
// loop with the C library over the same blocks and threads.

#include <benchmark/benchmark.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "bench/interleaved.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "hdri/GradientBrush.h"
#include "hdri/SunSkyBrush.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"
#include "pins/PassPlan.h"
#include "shapes/PinShape.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr std::int32_t kWidth = 4096;
constexpr std::int32_t kHeight = 2048;

/// Spot i of a spiral that spreads `count` of them evenly over the sphere.
CirclePinParams spot(int i, int count, float radius) {
  CirclePinParams params;
  params.azimuth = static_cast<float>(std::remainder(2.399963 * i, 6.283185307));
  params.elevation = static_cast<float>(std::asin((2.0 * i + 1.0) / count - 1.0));
  params.radius = radius;
  params.rotation = 0.3f * static_cast<float>(i);
  params.falloffKind = Falloff::circleSmoothEdge;
  return params;
}

RectPinParams box(int i, int count, float size) {
  const CirclePinParams at = spot(i, count, size);
  RectPinParams params;
  params.azimuth = at.azimuth;
  params.elevation = at.elevation;
  params.rotation = at.rotation;
  params.halfWidth = size;
  params.halfHeight = 0.6f * size;
  params.falloffKind = Falloff::rectBoxEdge;
  return params;
}

/// The reference host's scene, for its sky.
orvScene* scene() {
  static const std::unique_ptr<orvScene, void (*)(orvScene*)> scene(orv_scene_create({}), orv_scene_destroy);
  return scene.get();
}

std::unique_ptr<BlockedPainter> makePainter() {
  std::unique_ptr<BlockedPainter> painter(new (std::nothrow) BlockedPainter(PainterType::avx2));
  painter->setSize(kWidth, kHeight);
  painter->setOptions({1, 1});
  painter->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  return painter;
}

/// Blocks that a painter's pins are laid over, after a paint.
double countBlocks(const BlockedPainter& painter) {
  const PassPlan plan(kWidth, kHeight, painter.pins(), kNeedsSoftEdge);
  AzimuthSpans spans;
  double blocks = 0;
  for (const PlannedPin& pin : plan.pins()) {
    for (std::int32_t y = pin.rows.first; y <= pin.rows.last; ++y) {
      pin.shape->azimuthSpans((0.5f - (static_cast<float>(y) + 0.5f) / kHeight) * kPi, spans);
      for (const AzimuthSpan& span : spans) {
        const BlockRange range = plan.blocksOf(span);
        blocks += static_cast<double>(range.end) - static_cast<double>(range.first);
      }
    }
  }
  return blocks;
}

/// The least processor time of a few paints, all threads together, which neighbours on the machine hardly
/// disturb.
double processorNanoseconds(BlockedPainter& painter) {
  double least = 1e300;
  for (int i = 0; i < bench::rounds(); ++i) {
    const std::clock_t start = std::clock();
    painter.paint();
    least = std::min(least, static_cast<double>(std::clock() - start) * 1e9 / CLOCKS_PER_SEC);
  }
  return least;
}

/// A paint with the pins beside one without; `cpu_ns_per_block` is the processor time that a pin's block
/// costs.
void comparePaints(benchmark::State& state, BlockedPainter& painter, BlockedPainter& plain) {
  bench::compare(
      state, "plain", [&] { painter.paint(); }, [&] { plain.paint(); });
  const double blocks = countBlocks(painter);
  state.counters["Mblocks"] = blocks * 1e-6;
  state.counters["cpu_ns_per_block"] = (processorNanoseconds(painter) - processorNanoseconds(plain)) / blocks;
}

void withPins(benchmark::State& state, const std::unique_ptr<BlockedPainter>& painter) {
  comparePaints(state, *painter, *makePainter());
}

void circles(benchmark::State& state, float radius) {
  const auto painter = makePainter();
  const int count = static_cast<int>(state.range(0));
  for (int i = 0; i < count; ++i) painter->addCirclePin(spot(i, count, radius), ColorBrush(1, 1, 1));
  withPins(state, painter);
}

void gradientCircles(benchmark::State& state) {
  const auto painter = makePainter();
  const int count = static_cast<int>(state.range(0));
  GradientBrush gradient;
  gradient.setStops({{}, {.position = 1, .r = 0.5f}});
  for (int i = 0; i < count; ++i) painter->addCirclePin(spot(i, count, 0.25f), gradient);
  withPins(state, painter);
}

/// Half circles and outlines, whose batches are mostly without weight.
void sparseGradients(benchmark::State& state) {
  const auto painter = makePainter();
  const int count = static_cast<int>(state.range(0));
  GradientBrush gradient;
  gradient.setStops({{}, {.position = 0.4f, .g = 0.5f}, {.position = 1, .r = 0.5f}});
  gradient.setCurve({{}, {.position = 1, .value = 0.5f}});
  for (int i = 0; i < count; ++i) {
    CirclePinParams params = spot(i, count, 0.5f);
    params.half = i % 2 == 0;
    if (!params.half) params.falloffKind = Falloff::outline;
    painter->addCirclePin(params, gradient);
  }
  withPins(state, painter);
}

/// Circles that show the background turned by `turn` and tilted by `tilt` degrees; the plain paint has the
/// same background without pins.
void backgroundCircles(benchmark::State& state, float turn, float tilt) {
  const auto sky = [&](BlockedPainter& painter) {
    painter.setScene(scene());
    painter.setBackground(SunSkyBrush());
  };
  const auto painter = makePainter(), plain = makePainter();
  sky(*painter);
  sky(*plain);
  const int count = static_cast<int>(state.range(0));
  for (int i = 0; i < count; ++i) painter->addCirclePin(spot(i, count, 0.5f), BackgroundBrush(turn, tilt));
  comparePaints(state, *painter, *plain);
}

/// Circles that lie between the pixels: what the rows take to know that nothing of them is seen.
void smallCirclesUnseen(benchmark::State& state) {
  const auto painter = makePainter(), plain = makePainter();
  constexpr int kCount = 10000;
  for (int i = 0; i < kCount; ++i) painter->addCirclePin(spot(i, kCount, 1e-4f), ColorBrush(1, 1, 1));
  bench::compare(
      state, "no circles", [&] { painter->paint(); }, [&] { plain->paint(); });
}

void boxes(benchmark::State& state) {
  const auto painter = makePainter();
  const int count = static_cast<int>(state.range(0));
  for (int i = 0; i < count; ++i) painter->addRectPin(box(i, count, 0.25f), ColorBrush(1, 1, 1));
  withPins(state, painter);
}

/// The scalar peer: the same circles over the same columns, one pixel after the other.
void paintScalar(const BlockedPainter& painter, const std::vector<CirclePinParams>& circles,
                 std::vector<float>& rgb) {
  const PassPlan plan(kWidth, kHeight, painter.pins(), kNeedsSoftEdge);
  const float pixelAngle = 1.5f * kPi / kHeight;
  tbb::parallel_for(0, kHeight, [&](int y) {
    const float latitude = (0.5f - (static_cast<float>(y) + 0.5f) / kHeight) * kPi;
    const float sine = std::sin(latitude), cosine = std::cos(latitude);
    float* const row = &rgb[static_cast<std::size_t>(y) * kWidth * 3];
    for (std::size_t x = 0; x < kWidth; ++x) {
      row[3 * x] = 0.1f;
      row[3 * x + 1] = 0.2f;
      row[3 * x + 2] = 0.3f;
    }
    AzimuthSpans spans;
    for (std::size_t i = 0; i < circles.size(); ++i) {
      const PlannedPin& pin = plan.pins()[i];
      if (y < pin.rows.first || y > pin.rows.last) continue;
      pin.shape->azimuthSpans(latitude, spans);
      const CirclePinParams& circle = circles[i];
      const float sines = sine * std::sin(circle.elevation), cosines = cosine * std::cos(circle.elevation);
      for (const AzimuthSpan& span : spans) {
        const BlockRange range = plan.blocksOf(span);
        for (std::size_t x = 8 * std::size_t{range.first}; x < 8 * std::size_t{range.end}; ++x) {
          const float azimuth = ((static_cast<float>(x) + 0.5f) / kWidth - 0.5f) * kTwoPi;
          const float cosAngle = std::cos(azimuth - circle.azimuth) * cosines + sines;
          const float angle = std::acos(std::fmin(std::fmax(cosAngle, -1.0f), 1.0f));
          const float t = std::fmin(std::fmax((circle.radius - angle) / pixelAngle, 0.0f), 1.0f);
          const float f = std::fmin(std::fmax((angle / circle.radius - 1) * 2 + 1, 0.0f), 1.0f);
          const float weight = angle < circle.radius ? t * t * (3 - 2 * t) * (1 - f * f * (3 - 2 * f)) : 0;
          for (std::size_t c = 0; c < 3; ++c) {
            row[3 * x + c] = std::fmax(row[3 * x + c] + weight, 0.0f);
          }
        }
      }
    }
  });
}

void circlesBesideScalar(benchmark::State& state) {
  const auto painter = makePainter();
  const int count = static_cast<int>(state.range(0));
  std::vector<CirclePinParams> circles;
  for (int i = 0; i < count; ++i) circles.push_back(spot(i, count, 0.25f));
  for (const CirclePinParams& circle : circles) painter->addCirclePin(circle, ColorBrush(1, 1, 1));
  std::vector<float> rgb(static_cast<std::size_t>(kWidth) * kHeight * 3);
  painter->paint();
  bench::compare(
      state, "scalar", [&] { painter->paint(); }, [&] { paintScalar(*painter, circles, rgb); });
}

[[maybe_unused]] const bool kRegistered = [] {
  const auto add = [](const std::string& name, std::initializer_list<int> counts, auto body) {
    for (const int count : counts) {
      benchmark::RegisterBenchmark(name.c_str(), body)
          ->Arg(count)
          ->UseManualTime()
          ->Iterations(1)
          ->Unit(benchmark::kMillisecond);
    }
  };
  add("paint/circles", {1, 16, 64, 256}, [](benchmark::State& s) { circles(s, 0.25f); });
  add("paint/circles_over_all", {1, 16}, [](benchmark::State& s) { circles(s, 3.1415927f); });
  add("paint/gradient_circles", {16, 64}, gradientCircles);
  add("paint/small_circles", {100, 10000}, [](benchmark::State& s) { circles(s, 0.01f); });
  benchmark::RegisterBenchmark("paint/small_circles_beside_none", smallCirclesUnseen)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  add("paint/sparse_gradients", {64}, sparseGradients);
  add("paint/turned_background", {16}, [](benchmark::State& s) { backgroundCircles(s, 40.0f, 0.0f); });
  add("paint/tilted_background", {16}, [](benchmark::State& s) { backgroundCircles(s, 40.0f, 20.0f); });
  add("paint/boxes", {1, 16, 64, 256}, boxes);
  add("paint/circles_beside_scalar", {16, 64}, circlesBesideScalar);
  return true;
}();

}  // namespace
}  // namespace orv::hdri::blockedAVX2
