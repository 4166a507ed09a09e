#include "scene/map_info.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <numbers>
#include <utility>
#include <vector>

#include "maps/row_loop.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/images/read_image.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

double luminanceOf(const float* pixel) {
  return 0.2126 * static_cast<double>(pixel[0]) + 0.7152 * static_cast<double>(pixel[1]) +
         0.0722 * static_cast<double>(pixel[2]);
}

bool endsMeetIn(Layout layout, int width) {
  return width > 1 && columnLongitude(layout, 0, width) == columnLongitude(layout, width - 1, width);
}

/// What a row has, unweighted.
struct RowLight {
  std::array<double, 3> sum{};
  double brightest = -1;
  int brightestColumn = 0;
};

/// Sums over the pixels, each weighted with the solid angle of its row, sin of its upper less its lower edge,
/// and with the width that it covers: half a column at the ends of a row whose two ends are one longitude.
/// @param pixels the first of width x height, three floats each.
MapLight measure(const float* pixels, int width, int height, Layout layout) {
  const bool endsMeet = endsMeetIn(layout, width);
  std::vector<RowLight> rows(static_cast<std::size_t>(height));
  forEachRow(static_cast<std::uint32_t>(height), 1, [&](std::size_t y) {
    RowLight row;
    const float* pixel = pixels + y * 3 * static_cast<std::size_t>(width);
    for (int x = 0; x < width; ++x, pixel += 3) {
      const double covered = endsMeet && (x == 0 || x == width - 1) ? 0.5 : 1.0;
      for (std::size_t c = 0; c < 3; ++c) row.sum[c] += covered * static_cast<double>(pixel[c]);
      const double luminance = luminanceOf(pixel);
      if (luminance <= row.brightest) continue;
      row.brightest = luminance;
      row.brightestColumn = x;
    }
    rows[y] = row;
  });

  MapLight info;
  info.brightest = -1;
  const auto sinLatitude = [&](double y) {
    return std::sin(rowLatitude(layout, y, height) * std::numbers::pi / 180);
  };
  std::array<double, 3> sum{};
  for (int y = 0; y < height; ++y) {
    const RowLight& row = rows[static_cast<std::size_t>(y)];
    const double weight = sinLatitude(y - 0.5) - sinLatitude(y + 0.5);
    for (std::size_t c = 0; c < 3; ++c) sum[c] += row.sum[c] * weight;
    if (row.brightest <= info.brightest) continue;
    info.brightest = row.brightest;
    info.brightestLongitude = columnLongitude(layout, row.brightestColumn, width);
    info.brightestLatitude = rowLatitude(layout, y, height);
  }
  // The weights of a whole column add up to 2.
  for (std::size_t c = 0; c < 3; ++c) info.mean[c] = sum[c] / (2.0 * (width - (endsMeet ? 1 : 0)));
  return info;
}

/// Of each column, how much of it lies before each of the horizontal axes: the integral of the cosine of the
/// longitude from +X, -X, +Y, -Y where that is positive.
std::vector<std::array<double, 4>> columnCosines(Layout layout, int width, bool endsMeet) {
  constexpr double kPi = std::numbers::pi;
  // The integral from a quarter turn before the axis, any number of turns on.
  const auto integral = [](double angle) {
    const double turns = std::floor((angle + kPi) / (2 * kPi));
    const double rest = angle - 2 * kPi * turns;
    return 2 * turns + (rest < -kPi / 2 ? 0 : rest > kPi / 2 ? 2 : std::sin(rest) + 1);
  };
  const double step = 2 * kPi / (width - (endsMeet ? 1 : 0));
  const auto longitude = [&](int x) { return columnLongitude(layout, x, width) * kPi / 180; };
  const bool toTheRight = width < 3 || std::remainder(longitude(1) - longitude(0), 2 * kPi) > 0;
  std::vector<std::array<double, 4>> cosines(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x) {
    double before = step / 2, after = step / 2;
    if (endsMeet && x == 0) before = 0;
    if (endsMeet && x == width - 1) after = 0;
    if (!toTheRight) std::swap(before, after);
    const double middle = longitude(x);
    for (std::size_t axis = 0; axis < 4; ++axis) {
      const double from = middle - std::array{0.0, kPi, kPi / 2, -kPi / 2}[axis];
      cosines[static_cast<std::size_t>(x)][axis] = integral(from + after) - integral(from - before);
    }
  }
  return cosines;
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What a row has, unweighted.
struct RowFigures {
  std::array<std::array<double, 3>, 4> sides{};
  std::array<double, 3> sum{};
  std::array<double, 3> least{kInfinity, kInfinity, kInfinity};
  std::array<double, 3> most{-kInfinity, -kInfinity, -kInfinity};
  std::uint64_t negative = 0;
  double dimmest = kInfinity;
  double near = 0;
};

}  // namespace

MapLight lightOf(const hdri::EnvImage& map) {
  static_assert(sizeof(hdri::Rgb) == 3 * sizeof(float));
  return measure(&map.pixels.data()->r, map.width, map.height, Layout::native);
}

MapFigures figuresOf(const float* pixels, int width, int height, Layout layout, const MapLight& light) {
  constexpr double kDegree = std::numbers::pi / 180;
  const double cosNear = std::cos(5 * kDegree);
  const bool endsMeet = endsMeetIn(layout, width);
  const double step = 2 * std::numbers::pi / (width - (endsMeet ? 1 : 0));
  const std::vector<std::array<double, 4>> cosines = columnCosines(layout, width, endsMeet);
  std::vector<double> cosFromBrightest(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x)
    cosFromBrightest[static_cast<std::size_t>(x)] =
        std::cos((columnLongitude(layout, x, width) - light.brightestLongitude) * kDegree);
  const double latitudeOfBrightest = light.brightestLatitude * kDegree;

  std::vector<RowFigures> rows(static_cast<std::size_t>(height));
  forEachRow(static_cast<std::uint32_t>(height), 1, [&](std::size_t y) {
    const double latitude = rowLatitude(layout, static_cast<double>(y), height) * kDegree;
    const double sines = std::sin(latitude) * std::sin(latitudeOfBrightest);
    const double cosinesOfBoth = std::cos(latitude) * std::cos(latitudeOfBrightest);
    RowFigures row;
    const float* pixel = pixels + y * 3 * static_cast<std::size_t>(width);
    for (int x = 0; x < width; ++x, pixel += 3) {
      const double covered = endsMeet && (x == 0 || x == width - 1) ? 0.5 : 1.0;
      const auto column = static_cast<std::size_t>(x);
      bool negative = false;
      for (std::size_t c = 0; c < 3; ++c) {
        const auto value = static_cast<double>(pixel[c]);
        for (std::size_t axis = 0; axis < 4; ++axis) row.sides[axis][c] += cosines[column][axis] * value;
        row.sum[c] += covered * value;
        row.least[c] = std::min(row.least[c], value);
        row.most[c] = std::max(row.most[c], value);
        negative |= value < 0;
      }
      row.negative += negative ? 1 : 0;
      const double luminance = luminanceOf(pixel);
      if (luminance > 0) row.dimmest = std::min(row.dimmest, luminance);
      // The brightest pixel itself counts, however its cosine is rounded.
      if (sines + cosinesOfBoth * cosFromBrightest[column] >= cosNear) row.near += covered * luminance;
    }
    rows[y] = row;
  });

  MapFigures figures;
  figures.least.fill(kInfinity);
  figures.most.fill(-kInfinity);
  double dimmest = kInfinity;
  double near = 0, all = 0;
  for (int y = 0; y < height; ++y) {
    const RowFigures& row = rows[static_cast<std::size_t>(y)];
    const double top = rowLatitude(layout, y - 0.5, height) * kDegree;
    const double bottom = rowLatitude(layout, y + 0.5, height) * kDegree;
    const double cosines2 = (top - bottom) / 2 + (std::sin(2 * top) - std::sin(2 * bottom)) / 4;
    const auto halfSquare = [](double sine) { return sine * sine / 2; };
    const double up = halfSquare(std::max(std::sin(top), 0.0)) - halfSquare(std::max(std::sin(bottom), 0.0));
    const double down =
        halfSquare(std::min(std::sin(bottom), 0.0)) - halfSquare(std::min(std::sin(top), 0.0));
    for (std::size_t c = 0; c < 3; ++c) {
      for (std::size_t axis = 0; axis < 4; ++axis)
        figures.irradiance[axis][c] += cosines2 * row.sides[axis][c];
      figures.irradiance[4][c] += up * step * row.sum[c];
      figures.irradiance[5][c] += down * step * row.sum[c];
      figures.least[c] = std::min(figures.least[c], row.least[c]);
      figures.most[c] = std::max(figures.most[c], row.most[c]);
    }
    figures.negative += row.negative;
    dimmest = std::min(dimmest, row.dimmest);
    const double weight = std::sin(top) - std::sin(bottom);
    near += weight * row.near;
    all += weight * (0.2126 * row.sum[0] + 0.7152 * row.sum[1] + 0.0722 * row.sum[2]);
  }
  if (all > 0) figures.brightestShare = near / all;
  if (dimmest <= light.brightest) figures.stops = std::log2(light.brightest / dimmest);
  return figures;
}

MapInfo readMapInfo(const std::string& path, Layout layout, std::uint64_t maxPixels) {
  constexpr std::uint32_t kMostSide = 65536;
  MapInfo info;
  host::ReadImage image;
  try {
    orv_image_read(path, {kMostSide, maxPixels}, image);
    orv_image_describe(path, info.header);
  } catch (const host::ImageError& error) {
    throw FileError(path + ": " + error.what());
  } catch (const std::bad_alloc&) {
    throw FileError(path + ": there is no memory to read it; close other programs");
  }
  info.width = static_cast<int>(image.pixels.width);
  info.height = static_cast<int>(image.pixels.height);
  info.nan = image.replaced.nan;
  info.infinite = image.replaced.infinite;
  const float* const pixels = image.pixels.rgb.get();
  static_cast<MapLight&>(info) = measure(pixels, info.width, info.height, layout);
  static_cast<MapFigures&>(info) = figuresOf(pixels, info.width, info.height, layout, info);
  return info;
}

}  // namespace orv::scene
