#include "scene/layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "maps/row_loop.h"

namespace orv::scene {
namespace {

struct LayoutRow {
  int quarterTurns;
  bool onEdges;  ///< samples lie on the picture's edges, not in the middle of pixels
  std::string_view orientation;
};

constexpr LayoutRow rowOf(Layout layout) {
  switch (layout) {
    case Layout::native:
      return {0, false, "centre +x, zenith +z, longitudes grow to the right"};
    case Layout::openexr:
      return {1, true, "openexr: centre +z, left quarter +x, zenith +y, samples on the edges"};
    case Layout::usd:
      return {1, false, "usd: centre +z, left quarter +x, zenith +y"};
    case Layout::blender:
      return {0, false, "blender: centre +x, left quarter +y, zenith +z"};
    case Layout::mitsuba:
      return {1, false, "mitsuba: centre +z, left quarter +x, zenith +y"};
    case Layout::pbrt:
      return {2, false, "pbrt: left edge +x, left quarter +y, zenith +z"};
    case Layout::three:
      return {0, false, "three: centre +x, left quarter -z, zenith +y"};
  }
  return {};
}

/// Where a sample lies between the two edges of its picture, 0 to 1.
double across(bool onEdges, double at, int count) {
  return onEdges && count > 1 ? at / (count - 1) : (at + 0.5) / count;
}

/// Where column `x` of a layout lies in our picture, 0 at its left edge, below 1.
double ourColumn(Layout layout, double x, int width) {
  const LayoutRow row = rowOf(layout);
  const double u = across(row.onEdges, x, width) + 0.25 * row.quarterTurns;
  return u - std::floor(u);
}

/// Two of our samples between which one of a layout lies.
struct Tap {
  int first;
  int second;
  float weight;  ///< of the second
};

Tap tapAt(double position) {
  const double floor = std::floor(position);
  return {static_cast<int>(floor), static_cast<int>(floor) + 1, static_cast<float>(position - floor)};
}

std::vector<Tap> columnTaps(Layout layout, int width) {
  std::vector<Tap> taps;
  taps.reserve(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x) {
    Tap tap = tapAt(ourColumn(layout, x, width) * width - 0.5);
    tap.first = (tap.first + width) % width;
    tap.second %= width;
    taps.push_back(tap);
  }
  return taps;
}

Tap rowTap(bool onEdges, int y, int height) {
  if (!onEdges) return {y, y, 0};
  Tap tap = tapAt(across(onEdges, y, height) * height - 0.5);
  tap.first = std::max(tap.first, 0);
  tap.second = std::min(tap.second, height - 1);
  return tap;
}

/// Equal values stay as they are, and a weight of none leaves infinities out.
float mixed(float a, float b, float weight) {
  if (a == b || weight == 0) return a;
  if (weight == 1) return b;
  return a * (1 - weight) + b * weight;
}
hdri::Rgb mixed(const hdri::Rgb& a, const hdri::Rgb& b, float weight) {
  return {mixed(a.r, b.r, weight), mixed(a.g, b.g, weight), mixed(a.b, b.b, weight)};
}

hdri::Rgb meanOf(const hdri::Rgb* row, int width) {
  std::array<double, 3> sum{};
  for (int x = 0; x < width; ++x) {
    sum[0] += static_cast<double>(row[x].r);
    sum[1] += static_cast<double>(row[x].g);
    sum[2] += static_cast<double>(row[x].b);
  }
  return {static_cast<float>(sum[0] / width), static_cast<float>(sum[1] / width),
          static_cast<float>(sum[2] / width)};
}

void interpolate(hdri::EnvImage& map, Layout layout) {
  const auto width = static_cast<std::size_t>(map.width);
  const bool onEdges = rowOf(layout).onEdges && map.height > 1;
  const std::vector<Tap> taps = columnTaps(layout, map.width);
  hdri::EnvImage made(map.width, map.height, map.pixels.get_allocator().resource());
  forEachRow(static_cast<std::uint32_t>(map.height), 1, [&](std::uint32_t row) {
    const int y = static_cast<int>(row);
    const Tap down = rowTap(onEdges, y, map.height);
    const hdri::Rgb* const above = map.pixels.data() + static_cast<std::size_t>(down.first) * width;
    const hdri::Rgb* const below = map.pixels.data() + static_cast<std::size_t>(down.second) * width;
    hdri::Rgb* const out = made.pixels.data() + row * width;
    if (onEdges && (y == 0 || y == map.height - 1)) {
      std::fill_n(out, width, meanOf(above, map.width));
      return;
    }
    for (std::size_t x = 0; x < width; ++x) {
      const Tap& right = taps[x];
      out[x] = mixed(mixed(above[right.first], above[right.second], right.weight),
                     mixed(below[right.first], below[right.second], right.weight), down.weight);
    }
  });
  std::swap(map.pixels, made.pixels);
}

}  // namespace

int quarterTurns(Layout layout) { return rowOf(layout).quarterTurns; }

std::string_view orientationText(Layout layout) { return rowOf(layout).orientation; }

double columnLongitude(Layout layout, double x, int width) {
  return (ourColumn(layout, x, width) - 0.5) * 360;
}

double rowLatitude(Layout layout, double y, int height) {
  return std::clamp((0.5 - across(rowOf(layout).onEdges, y, height)) * 180, -90.0, 90.0);
}

bool movesWholeColumns(Layout layout, int width) {
  const LayoutRow row = rowOf(layout);
  return !row.onEdges && std::int64_t{width} * row.quarterTurns % 4 == 0;
}

bool isOpenExrEnvmap(Layout layout, int width, int height) {
  return layout == Layout::openexr && width == std::int64_t{2} * height;
}

void toLayout(hdri::EnvImage& map, Layout layout) {
  if (map.pixels.empty()) return;
  if (!movesWholeColumns(layout, map.width)) return interpolate(map, layout);
  const std::int64_t columns = std::int64_t{map.width} * quarterTurns(layout) / 4;
  if (columns == 0) return;
  forEachRow(static_cast<std::uint32_t>(map.height), 1, [&](std::uint32_t y) {
    hdri::Rgb* const row = map.pixels.data() + std::size_t{y} * static_cast<std::size_t>(map.width);
    std::rotate(row, row + columns, row + map.width);
  });
}

}  // namespace orv::scene
