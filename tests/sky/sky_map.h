#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvrender/sky/ReferenceSky.h"

namespace orv::host {

inline constexpr double kPiTest = 3.14159265358979323846;

struct Rgb3 {
  double r = 0, g = 0, b = 0;
  double luminance() const { return 0.2126 * r + 0.7152 * g + 0.0722 * b; }
};

/// A rendered map and sums over it.
struct SkyMap {
  std::uint32_t width, height;
  std::vector<float> rgb;

  Rgb3 pixel(std::uint32_t x, std::uint32_t y) const {
    const float* p = rgb.data() + 3 * (std::size_t{y} * width + x);
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
  }
  double edge(std::uint32_t y) const { return std::sin((0.5 - static_cast<double>(y) / height) * kPiTest); }
  /// Solid angle of a pixel of row y.
  double solidAngle(std::uint32_t y) const { return 2 * kPiTest / width * (edge(y) - edge(y + 1)); }

  /// Light on a horizontal plane from the rows above the horizon.
  Rgb3 onPlane() const {
    return sum(height / 2, [&](std::uint32_t y) {
      return kPiTest / width * (edge(y) * edge(y) - edge(y + 1) * edge(y + 1));
    });
  }
  /// Light from the rows above the horizon, from all directions alike.
  Rgb3 aboveHorizon() const {
    return sum(height / 2, [&](std::uint32_t y) { return solidAngle(y); });
  }
  /// Mean of row y.
  Rgb3 rowMean(std::uint32_t y) const {
    Rgb3 out;
    for (std::uint32_t x = 0; x < width; ++x) add(out, pixel(x, y), 1.0 / width);
    return out;
  }

 private:
  static void add(Rgb3& to, const Rgb3& c, double weight) {
    to.r += weight * c.r;
    to.g += weight * c.g;
    to.b += weight * c.b;
  }
  Rgb3 sum(std::uint32_t rows, const auto& weight) const {
    Rgb3 out;
    for (std::uint32_t y = 0; y < rows; ++y) {
      const double ofRow = weight(y);
      for (std::uint32_t x = 0; x < width; ++x) add(out, pixel(x, y), ofRow);
    }
    return out;
  }
};

/// Fixes the sun at a longitude and latitude of the map, degrees: sunlight travels the other way, y up.
inline void setSun(ReferenceSky& sky, double azimuth, double elevation) {
  const double a = azimuth * kPiTest / 180, e = elevation * kPiTest / 180;
  const double direction[3] = {-std::cos(e) * std::cos(a), -std::sin(e), std::sin(a) * std::cos(e)};
  sky.set_sun_direction(direction);
}

inline SkyMap render(ReferenceSky& sky, std::uint32_t width, std::uint32_t height) {
  SkyMap map{width, height, std::vector<float>(std::size_t{3} * width * height)};
  sky.settingsGiven = 1;
  sky.render(nullptr, map.rgb.data(), width, height);
  return map;
}

/// The light that a map gains above the horizon from the disc.
inline Rgb3 discLight(ReferenceSky& sky, std::uint32_t width, std::uint32_t height) {
  const Rgb3 with = render(sky, width, height).aboveHorizon();
  const float intensity = sky.sunIntensity;
  sky.sunIntensity = 0;
  const Rgb3 without = render(sky, width, height).aboveHorizon();
  sky.sunIntensity = intensity;
  return {with.r - without.r, with.g - without.g, with.b - without.b};
}

}  // namespace orv::host
