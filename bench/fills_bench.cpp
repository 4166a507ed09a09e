// Fills: nanoseconds for a block of eight pixels, shading and merging included, on one thread. Each beside
// its peer: a solid colour beside the same bytes through memory; gradients beside eight scalar evaluations of
// the brush; images and backgrounds beside a solid colour, which is the cost of merging alone.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "backgrounds/ColorBackground.h"
#include "backgrounds/ImageBackground.h"
#include "bench/interleaved.h"
#include "fills/BackgroundRotationFill.h"
#include "fills/GradientFill.h"
#include "fills/ImageFill.h"
#include "fills/SolidColorFill.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

/// A batch of pixels across a pin, over a row of the map.
class Row {
 public:
  Row()
      : planes_(std::make_unique<BatchPlanes>()),
        scratch_(std::make_unique<FillScratch>()),
        pixels_(kBatchBlocks) {
    batch_ = planes_->batch();
    batch_.blocks = kBatchBlocks;
    batch_.color = pixels_.data();
    const std::size_t count = 8 * kBatchBlocks;
    for (std::size_t i = 0; i < count; ++i) {
      const float x = static_cast<float>(i) / static_cast<float>(count);
      batch_.u[i] = 2.0f * x - 1.0f;
      batch_.v[i] = 0.3f - 0.4f * x;
      batch_.weight[i] = 0.25f + 0.5f * x;
      batch_.changes[0][i] = 0.004f;
      batch_.changes[1][i] = 0.001f;
      batch_.changes[2][i] = -0.001f;
      batch_.changes[3][i] = 0.004f;
      const float a = 3.0f * x;
      batch_.directionWorld[0][i] = std::cos(a) * 0.8f;
      batch_.directionWorld[1][i] = std::sin(a) * 0.8f;
      batch_.directionWorld[2][i] = 0.6f;
    }
    clear();
  }

  void clear() { std::memset(static_cast<void*>(pixels_.data()), 0, pixels_.size() * sizeof(Block)); }
  void composite(const PinFill& fill) { fill.composite(batch_, *scratch_); }
  const PixelBatch& batch() const { return batch_; }
  std::vector<Block>& pixels() { return pixels_; }

 private:
  std::unique_ptr<BatchPlanes> planes_;
  std::unique_ptr<FillScratch> scratch_;
  std::vector<Block> pixels_;
  PixelBatch batch_;
};

/// Compares two ways over a row, each `repeats` times, and counts nanoseconds a block.
template <typename Subject, typename Peer>
void compareBlocks(benchmark::State& state, const std::string& peerName, int repeats, const Subject& subject,
                   const Peer& peer) {
  const int count = bench::smoke() ? 1 : repeats;
  const auto repeated = [count](const auto& work) {
    return [count, &work] {
      for (int i = 0; i < count; ++i) {
        work();
        benchmark::ClobberMemory();
      }
    };
  };
  bench::compare(state, peerName, repeated(subject), repeated(peer));
  const double blocks = static_cast<double>(count) * static_cast<double>(kBatchBlocks);
  state.counters["ns_per_block"] = state.counters["own_ms"].value * 1e6 / blocks;
  state.counters[peerName + "_ns"] = state.counters[peerName + "_ms"].value * 1e6 / blocks;
}

template <typename Fill, typename... Args>
std::unique_ptr<Fill> make(const Args&... args) {
  return std::unique_ptr<Fill>(new (std::nothrow) Fill(args...));
}

std::unique_ptr<SolidColorFill> solid(BlendMode mode = BlendMode::mix) {
  ColorBrush brush(0.5f, 0.25f, 0.125f);
  brush.setMode(mode);
  return make<SolidColorFill>(brush);
}

void solidColor(benchmark::State& state) {
  Row row, copied;
  const auto fill = solid(static_cast<BlendMode>(state.range(0)));
  compareBlocks(
      state, "memcpy", 4000, [&] { row.composite(*fill); },
      [&] {
        std::memcpy(static_cast<void*>(copied.pixels().data()), row.pixels().data(),
                    kBatchBlocks * sizeof(Block));
      });
}
BENCHMARK(solidColor)->DenseRange(0, 3)->Iterations(1)->UseManualTime();

std::unique_ptr<GradientBrush> gradient(std::int64_t stops) {
  auto brush = std::make_unique<GradientBrush>();
  std::vector<GradientStop> list;
  std::vector<CurveStop> curve;
  for (std::int64_t i = 0; i < stops; ++i) {
    const float x = static_cast<float>(i) / static_cast<float>(stops - 1);
    list.push_back({x, 0.5f, 1.5f, x, 1.0f - x, 0.5f, 1.0f + x});
    curve.push_back({x, 0.0f, 0.0f, 1.0f - 0.5f * x});
  }
  brush->setStops(std::move(list));
  brush->setCurve(std::move(curve));
  brush->setAngle(30.0f);
  brush->setMode(BlendMode::mix);
  return brush;
}

void gradientOfStops(benchmark::State& state) {
  Row row;
  const auto brush = gradient(state.range(0));
  const auto fill = make<GradientFill>(*brush, true);
  float sum = 0;
  compareBlocks(
      state, "scalar", 400, [&] { row.composite(*fill); },
      [&] {
        for (std::size_t i = 0; i < 8 * kBatchBlocks; ++i) {
          const float t = (row.batch().u[i] * 0.8660254f + row.batch().v[i] * 0.5f + 1.0f) * 0.5f;
          const Rgb color = brush->evalColor(t);
          sum += color.r + color.g + color.b + brush->evalCurve(t);
        }
      });
  benchmark::DoNotOptimize(sum);
}
BENCHMARK(gradientOfStops)->Arg(2)->Arg(4)->Arg(7)->Arg(12)->Iterations(1)->UseManualTime();

void adjustedGradient(benchmark::State& state) {
  Row row;
  const auto brush = gradient(4);
  const auto plain = make<GradientFill>(*brush, true);
  brush->adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1.0f, 0.8f, 0.6f};
  const auto fill = make<GradientFill>(*brush, true);
  compareBlocks(
      state, "unadjusted", 400, [&] { row.composite(*fill); }, [&] { row.composite(*plain); });
}
BENCHMARK(adjustedGradient)->Iterations(1)->UseManualTime();

/// A picture of 512 x 256 pixels on disk, and a painter whose host can load it.
class Picture {
 public:
  Picture() : scene_(orv_scene_create({})), painter_(new (std::nothrow) BlockedPainter(PainterType::avx2)) {
    std::string name = "/tmp/orvhdri-bench-XXXXXX";
    const int file = mkstemp(name.data());
    if (file >= 0) std::fclose(fdopen(file, "wb"));
    path_ = name;
    std::ofstream out(path_, std::ios::binary);
    out << "PF\n512 256\n-1.0\n";
    for (int i = 0; i < 512 * 256; ++i) {
      const float x = static_cast<float>(i % 512) / 512.0f;
      const float pixel[3] = {x, 1.0f - x, 0.5f};
      out.write(reinterpret_cast<const char*>(pixel), sizeof pixel);
    }
    out.close();
    painter_->setScene(scene_);
    painter_->setSize(512, 256);
  }
  ~Picture() {
    painter_.reset();
    orv_scene_destroy(scene_);
    std::remove(path_.c_str());
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  BlockedPainter& painter() { return *painter_; }
  const std::string& path() const { return path_; }

 private:
  orvScene* scene_;
  std::unique_ptr<BlockedPainter> painter_;
  std::string path_;
};

void image(benchmark::State& state) {
  Picture picture;
  picture.painter().setOptions({static_cast<std::uint8_t>(state.range(0)), 0});
  ImageBrush brush(picture.path());
  brush.setMode(BlendMode::mix);
  const auto fill = make<ImageFill>(brush);
  const ColorBackground black(ColorBrush(0, 0, 0));
  if (!fill->prepare(picture.painter().context(), black)) {
    state.SkipWithError("the picture can not be loaded");
    return;
  }
  Row row;
  const auto peer = solid();
  compareBlocks(
      state, "solid", 20, [&] { row.composite(*fill); }, [&] { row.composite(*peer); });
  fill->release();
}
BENCHMARK(image)->ArgName("filtered")->Arg(0)->Arg(1)->Iterations(1)->UseManualTime();

void backgroundFill(benchmark::State& state) {
  Picture picture;
  BackgroundBrush brush(static_cast<float>(state.range(0)), static_cast<float>(state.range(1)));
  picture.painter().setBackground(ImageBrush(picture.path()));
  picture.painter().addCirclePin({.radius = 0.1f}, brush);
  picture.painter().paint();
  brush.setMode(BlendMode::mix);
  const auto fill = make<BackgroundRotationFill>(brush);
  fill->prepare(picture.painter().context(), *picture.painter().background());
  Row row;
  const auto peer = solid();
  compareBlocks(
      state, "solid", 400, [&] { row.composite(*fill); }, [&] { row.composite(*peer); });
}
BENCHMARK(backgroundFill)
    ->ArgNames({"turn", "tilt"})
    ->Args({40, 0})
    ->Args({40, 20})
    ->Iterations(1)
    ->UseManualTime();

}  // namespace
