// Blur and rotation of map backgrounds; where OpenCV is installed, beside
// its filter and its remapping.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#ifdef ORVHDRI_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include "backgrounds/BlurSettings.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/blur.h"
#include "backgrounds/sphere_blur.h"
#include "backgrounds/tilt.h"
#include "bench/interleaved.h"
#include "maps/BlockedMap.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

BlockedMap picture(std::uint32_t width) {
  BlockedMap map(width, width / 2);
  for (std::size_t i = 0; i < map.bytes() / 4; ++i)
    map.data()[i] = static_cast<float>((i * 2654435761u) % 4096) / 512.0f;
  return map;
}

/// Both passes over a map with the given radius, beside one call of the peer's separable filter with the same
/// kernel. A radius that takes the peer seconds goes without.
void blurMap(benchmark::State& state) {
  const auto width = static_cast<std::uint32_t>(state.range(0));
  const auto radius = static_cast<std::uint32_t>(state.range(1));
  BlockedMap map = picture(width);
  const float maximum = 1e4f;
  const float reach = std::sqrt(-2.0f * std::log(0.1f / maximum));
  const float sigma = (static_cast<float>(radius) - 0.5f) / reach;
  BlurSettings settings(sigma * 200.0f / static_cast<float>(width));
  if (!settings.makeKernel(width, width / 2, maximum) || settings.radius() != radius) {
    state.SkipWithError("no kernel of this radius");
    return;
  }
  const auto own = [&] { blur(map, settings, PaintContext()); };
  const int count = bench::smoke() ? 1 : 7;
  if (width * radius > 1'000'000) {
    bench::alone(state, "", own, count);
    return;
  }
#ifdef ORVHDRI_BENCH_OPENCV
  const auto size = static_cast<int>(width);
  const cv::Mat from(size / 2, size, CV_32FC3, cv::Scalar(1, 2, 3));
  cv::Mat to(size / 2, size, CV_32FC3, cv::Scalar(0, 0, 0));
  cv::Mat kernel(2 * static_cast<int>(radius) + 1, 1, CV_32F);
  for (int i = 0; i < kernel.rows; ++i)
    kernel.at<float>(i) = settings.kernel()[static_cast<std::size_t>(std::abs(i - static_cast<int>(radius)))];
  const auto peer = [&] {
    cv::sepFilter2D(from, to, -1, kernel, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  };
  bench::compare(state, "sepFilter2D", own, peer, count);
#else
  bench::withoutPeer(state, "OpenCV", own, count);
#endif
}

/// The blur on the sphere, sigma in hundredths of a degree, beside the blur of the same amount along the
/// map's columns and rows.
void sphereBlur(benchmark::State& state) {
  const auto width = static_cast<std::uint32_t>(state.range(0));
  const double sigma = static_cast<double>(state.range(1)) * 0.01 * std::numbers::pi / 180;
  BlockedMap map = picture(width), planar = picture(width);
  const double columns = sigma * width / (2 * std::numbers::pi);
  BlurSettings settings(static_cast<float>(columns * 200.0 / width));
  settings.makeKernel(width, width / 2, 1e4f);
  bench::compare(
      state, "planar", [&] { blurOnSphere(map, sigma, PaintContext()); },
      [&] { blur(planar, settings, PaintContext()); }, bench::smoke() ? 1 : 7);
  state.counters["Mpixel/s"] = 0.5 * width * width / state.counters["own_ms"] * 1e-3;
}

/// A full rotation, beside the peer's bilinear remapping with its coordinate maps ready.
void tiltMap(benchmark::State& state) {
  const auto width = static_cast<std::uint32_t>(state.range(0));
  const auto angle = static_cast<float>(state.range(1)) * 0.1f;
  BlockedMap map = picture(width);
  const auto own = [&] { tilt(map, {}, TiltSettings(0.5f, angle)); };
  const int count = bench::smoke() ? 1 : 15;
#ifdef ORVHDRI_BENCH_OPENCV
  const auto columns = static_cast<int>(width);
  const cv::Mat from(columns / 2, columns, CV_32FC3, cv::Scalar(1, 2, 3));
  cv::Mat to(columns / 2, columns, CV_32FC3, cv::Scalar(0, 0, 0));
  cv::Mat x(columns / 2, columns, CV_32F), y(columns / 2, columns, CV_32F);
  for (int row = 0; row < y.rows; ++row)
    for (int column = 0; column < x.cols; ++column) {
      const double theta = (row + 0.5) / y.rows * CV_PI, phi = column * 2 * CV_PI / columns;
      const double d[3] = {std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)};
      const double e[3] = {std::cos(angle) * d[0] + std::sin(angle) * d[2], d[1],
                           std::cos(angle) * d[2] - std::sin(angle) * d[0]};
      const double u = (std::atan2(e[1], e[0]) + 0.5) / (2 * CV_PI);
      x.at<float>(row, column) = static_cast<float>((u - std::floor(u)) * (columns - 1));
      y.at<float>(row, column) =
          static_cast<float>(std::acos(std::clamp(e[2], -1.0, 1.0)) / CV_PI * (y.rows - 1));
    }
  const auto peer = [&] { cv::remap(from, to, x, y, cv::INTER_LINEAR, cv::BORDER_WRAP); };
  bench::compare(state, "remap", own, peer, count);
#else
  bench::withoutPeer(state, "OpenCV", own, count);
#endif
  state.counters["Mpixel/s"] = 0.5 * width * width / state.counters["own_ms"] * 1e-3;
}

/// A rotation about the vertical axis alone.
void shiftMap(benchmark::State& state) {
  const auto width = static_cast<std::uint32_t>(state.range(0));
  BlockedMap map = picture(width);
  const BlockedMap copy = picture(width);
  bench::compare(
      state, "memcpy", [&] { tilt(map, {}, TiltSettings(0.5f, 0)); },
      [&] { std::memcpy(map.data(), copy.data(), map.bytes()); });
}

BENCHMARK(blurMap)
    ->ArgNames({"width", "radius"})
    ->ArgsProduct({{2048, 4096}, {20, 100, 400, 1000}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(sphereBlur)
    ->ArgNames({"width", "sigma"})
    ->ArgsProduct({{2048, 4096}, {1440, 360, 180, 90, 45, 20}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(tiltMap)
    ->ArgNames({"width", "tenths"})
    ->ArgsProduct({{2048, 4096}, {3, 12}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(shiftMap)->ArgName("width")->Arg(2048)->Arg(4096)->UseManualTime()->Iterations(1)->Unit(
    benchmark::kMillisecond);

}  // namespace
