#include "scene/clamp_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

#include "maps/row_loop.h"

namespace orv::scene {
namespace {

/// The sums of one row.
struct RowLoss {
  std::int64_t pixels = 0;
  float largest = 0;
  double light = 0;
  double lost = 0;

  /// @return whether the value is beyond the limit.
  bool add(float value, float limit) {
    if (value > 0) {
      light += static_cast<double>(value);
      lost += static_cast<double>(std::max(value - limit, 0.0f));
    }
    if (!(std::abs(value) > limit)) return false;
    largest = std::max(largest, std::abs(value));
    return true;
  }
};

RowLoss lossOfRow(const hdri::Rgb* row, std::int32_t width, float limit) {
  RowLoss sum;
  for (std::int32_t x = 0; x < width; ++x) {
    const bool r = sum.add(row[x].r, limit), g = sum.add(row[x].g, limit), b = sum.add(row[x].b, limit);
    if (r || g || b) ++sum.pixels;
  }
  return sum;
}

const hdri::Rgb* rowOf(const hdri::EnvImage& map, std::size_t y) {
  return map.pixels.data() + y * static_cast<std::size_t>(map.width);
}

}  // namespace

ClampLoss clampLoss(const hdri::EnvImage& map, float limit) {
  std::vector<RowLoss> rows(static_cast<std::size_t>(map.height));
  forEachRow(static_cast<std::uint32_t>(map.height), 1,
             [&](std::size_t y) { rows[y] = lossOfRow(rowOf(map, y), map.width, limit); });

  ClampLoss loss;
  double light = 0, lost = 0;
  for (std::size_t y = 0; y < rows.size(); ++y) {
    // The solid angle of row y is proportional to the cosine of its middle.
    const double weight = std::cos(((static_cast<double>(y) + 0.5) / static_cast<double>(rows.size()) - 0.5) *
                                   std::numbers::pi);
    loss.pixels += rows[y].pixels;
    loss.largest = std::max(loss.largest, rows[y].largest);
    light += rows[y].light * weight;
    lost += rows[y].lost * weight;
  }
  // Of light without end what remains is nothing.
  if (light > 0) loss.lightShare = std::isfinite(lost) ? lost / light : 1.0;
  return loss;
}

hdri::EnvImage clamped(const hdri::EnvImage& map, float limit) {
  hdri::EnvImage result(map.width, map.height);
  const auto width = static_cast<std::size_t>(map.width);
  // A NaN fails both comparisons of std::clamp and passes.
  const auto clamp = [limit](float value) { return std::clamp(value, -limit, limit); };
  forEachRow(static_cast<std::uint32_t>(map.height), 1, [&](std::size_t y) {
    std::transform(rowOf(map, y), rowOf(map, y) + width, result.pixels.data() + y * width,
                   [&](const hdri::Rgb& pixel) {
                     return hdri::Rgb{clamp(pixel.r), clamp(pixel.g), clamp(pixel.b)};
                   });
  });
  return result;
}

}  // namespace orv::scene
