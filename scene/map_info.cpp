#include "scene/map_info.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "host/orvImage.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/orvHost.h"
#include "scene/HostPicture.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

/// Sums over the pixels, each weighted with the solid angle of its row, sin of its upper less its lower edge,
/// and with the width that it covers: half a column at the ends of a row whose two ends are one longitude.
/// @param pixel the first of width x height, three floats each.
MapLight measure(const float* pixel, int width, int height, Layout layout) {
  MapLight info;
  const auto sinLatitude = [&](double y) {
    return std::sin(rowLatitude(layout, y, height) * std::numbers::pi / 180);
  };
  const bool endsMeet =
      width > 1 && columnLongitude(layout, 0, width) == columnLongitude(layout, width - 1, width);
  std::array<double, 3> sum{};
  info.brightest = -1;
  for (int y = 0; y < height; ++y) {
    std::array<double, 3> row{};
    for (int x = 0; x < width; ++x, pixel += 3) {
      const double covered = endsMeet && (x == 0 || x == width - 1) ? 0.5 : 1.0;
      for (std::size_t c = 0; c < 3; ++c) row[c] += covered * static_cast<double>(pixel[c]);
      const double luminance = 0.2126 * static_cast<double>(pixel[0]) +
                               0.7152 * static_cast<double>(pixel[1]) +
                               0.0722 * static_cast<double>(pixel[2]);
      if (luminance <= info.brightest) continue;
      info.brightest = luminance;
      info.brightestLongitude = columnLongitude(layout, x, width);
      info.brightestLatitude = rowLatitude(layout, y, height);
    }
    const double weight = sinLatitude(y - 0.5) - sinLatitude(y + 0.5);
    for (std::size_t c = 0; c < 3; ++c) sum[c] += row[c] * weight;
  }
  // The weights of a whole column add up to 2.
  for (std::size_t c = 0; c < 3; ++c) info.mean[c] = sum[c] / (2.0 * (width - (endsMeet ? 1 : 0)));
  return info;
}

}  // namespace

MapLight lightOf(const hdri::EnvImage& map) {
  static_assert(sizeof(hdri::Rgb) == 3 * sizeof(float));
  return measure(&map.pixels.data()->r, map.width, map.height, Layout::native);
}

MapInfo readMapInfo(const std::string& path, Layout layout, std::uint64_t maxPixels) {
  MapInfo info;
  {
    const HostPicture picture(path, maxPixels);
    info.width = static_cast<int>(picture.image().width());
    info.height = static_cast<int>(picture.image().height());
    static_cast<MapLight&>(info) = measure(picture.image().pixels(), info.width, info.height, layout);
  }
  try {
    orv_image_describe(path, info.header);
  } catch (const host::ImageError& error) {
    throw FileError(path + ": " + error.what());
  }
  return info;
}

}  // namespace orv::scene
