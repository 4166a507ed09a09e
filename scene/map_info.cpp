#include "scene/map_info.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "scene/HostPicture.h"

namespace orv::scene {
namespace {

/// Sums over the pixels, each weighted with the solid angle of its row: sin of its upper less its lower edge.
void measure(const orvImage& image, MapInfo& info) {
  constexpr double pi = std::numbers::pi;
  const float* pixel = image.pixels();
  std::array<double, 3> sum{};
  info.brightest = -1;
  for (int y = 0; y < info.height; ++y) {
    const double top = (0.5 - static_cast<double>(y) / info.height) * pi;
    const double bottom = (0.5 - static_cast<double>(y + 1) / info.height) * pi;
    std::array<double, 3> row{};
    for (int x = 0; x < info.width; ++x, pixel += 3) {
      for (std::size_t c = 0; c < 3; ++c) row[c] += static_cast<double>(pixel[c]);
      const double luminance = 0.2126 * static_cast<double>(pixel[0]) +
                               0.7152 * static_cast<double>(pixel[1]) +
                               0.0722 * static_cast<double>(pixel[2]);
      if (luminance <= info.brightest) continue;
      info.brightest = luminance;
      info.brightestLongitude = ((x + 0.5) / info.width - 0.5) * 360;
      info.brightestLatitude = (0.5 - (y + 0.5) / info.height) * 180;
    }
    for (std::size_t c = 0; c < 3; ++c) sum[c] += row[c] * (std::sin(top) - std::sin(bottom));
  }
  // The weights of a whole column add up to 2.
  for (std::size_t c = 0; c < 3; ++c) info.mean[c] = sum[c] / (2.0 * info.width);
}

}  // namespace

MapInfo readMapInfo(const std::string& path) {
  MapInfo info;
  {
    const HostPicture picture(path);
    info.width = static_cast<int>(picture.image().width());
    info.height = static_cast<int>(picture.image().height());
    measure(picture.image(), info);
  }
  info.header = orv_image_module().describe(path);
  return info;
}

}  // namespace orv::scene
