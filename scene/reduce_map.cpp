#include "scene/reduce_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

#include "maps/row_loop.h"

namespace orv::scene {
namespace {

/// Which of `from` cells the cell `index` of `to` covers, and from where to where, in cells of `from`.
struct Cover {
  double begin;
  double end;
  int first;
  int last;

  Cover(int index, int from, int to)
      : begin(static_cast<double>(index) * from / to),
        end(static_cast<double>(index + 1) * from / to),
        first(static_cast<int>(begin)),
        last(std::min(static_cast<int>(std::ceil(end)), from) - 1) {}

  /// The part of the cell `i` that is covered.
  double beginIn(int i) const { return std::max(begin, static_cast<double>(i)); }
  double endIn(int i) const { return std::min(end, static_cast<double>(i) + 1); }
};

double light(float value) { return value > 0 && std::isfinite(value) ? static_cast<double>(value) : 0.0; }

/// Between the edges `top` and `bottom`, in rows from the top: 2 pi / (2 pi) of sin above less sin below.
double bandWeight(double top, double bottom, int height) {
  const double pi = std::numbers::pi;
  return std::cos(top / height * pi) - std::cos(bottom / height * pi);
}

void reduceRow(const hdri::EnvImage& map, hdri::EnvImage& reduced, int y) {
  const Cover rows(y, map.height, reduced.height);
  const auto width = static_cast<std::size_t>(map.width);
  for (int x = 0; x < reduced.width; ++x) {
    const Cover columns(x, map.width, reduced.width);
    std::array<double, 3> sum{};
    double weights = 0;
    for (int row = rows.first; row <= rows.last; ++row) {
      const double rowWeight = bandWeight(rows.beginIn(row), rows.endIn(row), map.height);
      const hdri::Rgb* const pixels = map.pixels.data() + static_cast<std::size_t>(row) * width;
      for (int column = columns.first; column <= columns.last; ++column) {
        const double weight = rowWeight * (columns.endIn(column) - columns.beginIn(column));
        sum[0] += weight * light(pixels[column].r);
        sum[1] += weight * light(pixels[column].g);
        sum[2] += weight * light(pixels[column].b);
        weights += weight;
      }
    }
    reduced.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(reduced.width) +
                   static_cast<std::size_t>(x)] = {static_cast<float>(sum[0] / weights),
                                                   static_cast<float>(sum[1] / weights),
                                                   static_cast<float>(sum[2] / weights)};
  }
}

struct WeightedLuminance {
  double luminance;
  double weight;
};

/// The pixels' luminance and solid angle over that of the sphere, without the brightest ones that together
/// cover `share` of it.
std::vector<WeightedLuminance> withoutBrightest(const hdri::EnvImage& map, double share) {
  std::vector<WeightedLuminance> all;
  all.reserve(map.pixels.size());
  for (int y = 0; y < map.height; ++y) {
    const double weight = bandWeight(y, y + 1, map.height) / (2.0 * map.width);
    for (int x = 0; x < map.width; ++x) all.push_back({luminance(map.pixels[all.size()]), weight});
  }
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.luminance > b.luminance; });
  for (WeightedLuminance& pixel : all) {
    const double left = std::min(pixel.weight, share);
    pixel.weight -= left;
    share -= left;
    if (share <= 0) break;
  }
  return all;
}

}  // namespace

hdri::EnvImage reduceMap(const hdri::EnvImage& map, int width, int height) {
  hdri::EnvImage reduced(std::min(width, map.width), std::min(height, map.height));
  forEachRow(static_cast<std::uint32_t>(reduced.height), 1,
             [&](std::size_t y) { reduceRow(map, reduced, static_cast<int>(y)); });
  return reduced;
}

float autoExposure(const hdri::EnvImage& map) {
  constexpr double kKey = 0.18;
  constexpr double kBrightest = 0.005;
  constexpr double kFloor = 0.01;
  const std::vector<WeightedLuminance> pixels = withoutBrightest(reduceMap(map, 256, 128), kBrightest);
  double mean = 0, weights = 0;
  for (const auto& [value, weight] : pixels) {
    mean += value * weight;
    weights += weight;
  }
  mean /= weights;
  if (mean <= 0) return 0;
  double logarithm = 0;
  for (const auto& [value, weight] : pixels) logarithm += std::log2(std::max(value, kFloor * mean)) * weight;
  return static_cast<float>(std::log2(kKey) - logarithm / weights);
}

}  // namespace orv::scene
