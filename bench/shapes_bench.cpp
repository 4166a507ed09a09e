// Shapes and falloffs, one core: nanoseconds for a block of eight pixels, beside a scalar loop with the C
// library.
//
// A row of 512 blocks (a map 4096 pixels wide) in runs of 64, as the pins pass walks it.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/interleaved.h"
#include "shapes/CirclePinShape.h"
#include "shapes/RectPinShape.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr std::size_t kBlocks = 512;
constexpr std::size_t kWidth = 8 * kBlocks;
constexpr float kElevation = 0.3f;
constexpr float kPixelAngle = 1.5f * kTwoPi / static_cast<float>(kWidth);

/// Longitudes of a row with their tables, and the row's latitude.
struct Row {
  alignas(32) float azimuth[kWidth];
  alignas(32) float sine[kWidth];
  alignas(32) float cosine[kWidth];
  alignas(32) float fromCentre[kWidth];
  alignas(32) float elevation[8];
  alignas(32) float sinElevation[8];
  alignas(32) float cosElevation[8];
  BatchPlanes planes;

  explicit Row(float centre) {
    for (std::size_t x = 0; x < kWidth; x += 8) {
      const Float8 column = laneIndex() + splat(static_cast<float>(x) + 0.5f);
      const Float8 a = (column * splat(1.0f / static_cast<float>(kWidth)) - splat(0.5f)) * splat(kTwoPi);
      const SinCos8 direction = sinCos(a);
      store(azimuth + x, a);
      store(sine + x, direction.sin);
      store(cosine + x, direction.cos);
      store(fromCentre + x, cos(a - splat(centre)));
    }
    const SinCos8 latitude = sinCos(splat(kElevation));
    store(elevation, splat(kElevation));
    store(sinElevation, latitude.sin);
    store(cosElevation, latitude.cos);
    std::memset(static_cast<void*>(&planes), 0, sizeof planes);
  }

  PixelBatch batch(std::size_t block, std::uint32_t needs, bool table) {
    PixelBatch batch = planes.batch();
    batch.needs = needs;
    batch.blocks = kBatchBlocks;
    batch.elevation = elevation;
    batch.sinElevation = sinElevation;
    batch.cosElevation = cosElevation;
    batch.azimuth = azimuth + 8 * block;
    batch.sinAzimuth = sine + 8 * block;
    batch.cosAzimuth = cosine + 8 * block;
    if (table) batch.cosFromCentre = fromCentre + 8 * block;
    return batch;
  }
};

CirclePinParams circleParams() {
  CirclePinParams params;
  params.azimuth = 0.4f;
  params.elevation = 0.2f;
  params.radius = 1.2f;
  params.rotation = 0.3f;
  return params;
}

RectPinParams rectParams() {
  RectPinParams params;
  params.azimuth = 0.4f;
  params.elevation = 0.2f;
  params.halfWidth = 1.2f;
  params.halfHeight = 0.9f;
  params.rotation = 0.3f;
  return params;
}

void reportBlocks(benchmark::State& state) {
  // The inverse of a rate: time for one block, shown in nanoseconds.
  state.counters["time/block"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kBlocks,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void runShape(benchmark::State& state, const PinShape& shape, std::uint32_t needs, bool table) {
  const auto row = std::make_unique<Row>(circleParams().azimuth);
  for (auto _ : state) {
    for (std::size_t block = 0; block < kBlocks; block += kBatchBlocks) {
      shape.evaluate(row->batch(block, needs, table));
      benchmark::ClobberMemory();
    }
  }
  reportBlocks(state);
}

/// The circle's fast path, hard or soft edge, one pixel after the other.
void scalarCircle(benchmark::State& state, bool full) {
  const CirclePinParams params = circleParams();
  const auto row = std::make_unique<Row>(params.azimuth);
  const TangentFrame frame = tangentFrame(params.azimuth, params.elevation, params.rotation);
  const float cosE = std::cos(kElevation), sinE = std::sin(kElevation);
  const float cosines = cosE * std::cos(params.elevation), sines = sinE * std::sin(params.elevation);
  for (auto _ : state) {
    for (std::size_t x = 0; x < kWidth; ++x) {
      const std::size_t i = x % BatchPlanes::kPixels;
      const float a = row->azimuth[x];
      float cosAngle;
      if (full) {
        const float px = std::cos(a) * cosE, py = std::sin(a) * cosE;
        cosAngle = px * frame.centre.x + py * frame.centre.y + sinE * frame.centre.z;
        const float d1 = px * frame.tangent1.x + py * frame.tangent1.y + sinE * frame.tangent1.z;
        const float d2 = px * frame.tangent2.x + py * frame.tangent2.y + sinE * frame.tangent2.z;
        row->planes.dotT1[i] = d1;
        row->planes.dotT2[i] = d2;
        row->planes.v[i] = (std::atan2(d2, d1) * kInvPi + 1) * 0.5f;
      } else {
        cosAngle = std::cos(a - params.azimuth) * cosines + sines;
      }
      cosAngle = std::fmin(std::fmax(cosAngle, -1.0f), 1.0f);
      const float angle = std::acos(cosAngle);
      const float t = std::fmin(std::fmax((params.radius - angle) / kPixelAngle, 0.0f), 1.0f);
      row->planes.cosAngle[i] = cosAngle;
      row->planes.weight[i] = t * t * (3 - 2 * t);
      row->planes.u[i] = angle / params.radius;
      row->planes.mask[i] = angle < params.radius ? 0xffffffffu : 0;
    }
    benchmark::ClobberMemory();
  }
  reportBlocks(state);
}

void runFalloff(benchmark::State& state, const PinShape& shape) {
  const auto row = std::make_unique<Row>(circleParams().azimuth);
  shape.evaluate(row->batch(128, kNeedsSoftEdge, true));
  const PixelBatch batch = row->batch(128, kNeedsSoftEdge, true);
  alignas(32) static float weights[BatchPlanes::kPixels];
  std::memcpy(weights, row->planes.weight, sizeof weights);
  for (auto _ : state) {
    for (std::size_t block = 0; block < kBlocks; block += kBatchBlocks) {
      // Weights shrink to denormal numbers when they are multiplied again and again.
      std::memcpy(row->planes.weight, weights, sizeof weights);
      shape.curve().evaluate(batch);
      benchmark::ClobberMemory();
    }
  }
  reportBlocks(state);
}

[[maybe_unused]] const bool kRegistered = [] {
  static const CirclePinShape circle(circleParams(), kPixelAngle);
  static const RectPinShape rect(rectParams(), kPixelAngle);
  static RectPinParams rounded = rectParams();
  rounded.cornerRadius = 0.2f;
  static const RectPinShape roundedRect(rounded, kPixelAngle);

  const auto add = [](const std::string& name, auto body) {
    auto* const registered = benchmark::RegisterBenchmark(name.c_str(), body);
    bench::smoke() ? registered->Iterations(1) : registered->MinTime(0.1);
  };
  add("circle/fast/scalar", [](benchmark::State& s) { scalarCircle(s, false); });
  add("circle/fast/table", [](benchmark::State& s) { runShape(s, circle, kNeedsSoftEdge, true); });
  add("circle/fast/computed", [](benchmark::State& s) { runShape(s, circle, kNeedsSoftEdge, false); });
  add("circle/fast/hard", [](benchmark::State& s) { runShape(s, circle, 0, true); });
  add("circle/full/scalar", [](benchmark::State& s) { scalarCircle(s, true); });
  add("circle/full/table", [](benchmark::State& s) { runShape(s, circle, 0x30, true); });
  add("circle/full/computed", [](benchmark::State& s) { runShape(s, circle, 0x30, false); });
  add("circle/full/direction", [](benchmark::State& s) { runShape(s, circle, 0x50, true); });
  add("rect/soft", [](benchmark::State& s) { runShape(s, rect, kNeedsSoftEdge, true); });
  add("rect/hard", [](benchmark::State& s) { runShape(s, rect, 0, true); });
  add("rect/rounded", [](benchmark::State& s) { runShape(s, roundedRect, kNeedsSoftEdge, true); });
  add("rect/changes", [](benchmark::State& s) { runShape(s, rect, 0x30, true); });

  for (const unsigned kind : {16u, 17u, 18u, 19u, 20u, 256u, 512u}) {
    add("falloff/circle/" + std::to_string(kind), [kind](benchmark::State& s) {
      CirclePinParams params = circleParams();
      params.falloffKind = static_cast<Falloff>(kind);
      runFalloff(s, CirclePinShape(params, kPixelAngle));
    });
  }
  for (const unsigned kind : {32u, 33u, 34u, 35u, 36u, 37u, 256u}) {
    add("falloff/rect/" + std::to_string(kind), [kind](benchmark::State& s) {
      RectPinParams params = rectParams();
      params.falloffKind = static_cast<Falloff>(kind);
      runFalloff(s, RectPinShape(params, kPixelAngle));
    });
  }
  return true;
}();

}  // namespace
}  // namespace orv::hdri::blockedAVX2
