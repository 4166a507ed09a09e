#include "support/reference/painter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "support/reference/backgrounds.h"
#include "support/reference/fills.h"

namespace reference {

Painter::Painter(Scene scene)
    : scene_(std::move(scene)), pixelAngle_(static_cast<double>(pixelAngle(scene_.width, scene_.height))) {
  for (const Pin& pin : scene_.pins) {
    std::vector<BlockRanges>& rows = blocks_.emplace_back();
    for (int y = 0; y < scene_.height; ++y) rows.push_back(blocksOfRow(pin, y, scene_.width, scene_.height));
  }
}

Color Painter::shifted(int x, int y, double azimuthShift, double elevationShift) const {
  const double azimuth = ((x + 0.5) / scene_.width - 0.5) * 2.0 * std::numbers::pi + azimuthShift;
  const double elevation = (0.5 - (y + 0.5) / scene_.height) * std::numbers::pi + elevationShift;
  Color color = backgroundPixel(scene_, x, y);
  for (std::size_t i = 0; i < scene_.pins.size(); ++i) {
    const BlockRanges& ranges = blocks_[i][static_cast<std::size_t>(y)];
    const bool painted = std::any_of(ranges.begin(), ranges.end(), [&](const std::pair<int, int>& range) {
      return range.first <= x / 8 && x / 8 < range.second;
    });
    if (!painted) continue;
    const Pin& pin = scene_.pins[i];
    const Coverage at = coverage(pin, azimuth, elevation, pixelAngle_, scene_.smoothing);
    color = composited(scene_, pin, color, shade(scene_, pin, at, azimuth, elevation));
  }
  return color;
}

double Painter::sensitivity(int x, int y, double angle) const {
  Color lowest = pixel(x, y);
  Color highest = lowest;
  for (const double a : {-angle, angle})
    for (const double e : {-angle, angle}) {
      const Color color = shifted(x, y, a, e);
      for (std::size_t c = 0; c < 3; ++c) {
        lowest[c] = std::min(lowest[c], color[c]);
        highest[c] = std::max(highest[c], color[c]);
      }
    }
  return std::max({highest[0] - lowest[0], highest[1] - lowest[1], highest[2] - lowest[2]});
}

}  // namespace reference
