#include "support/reference/sphere.h"

#include <cmath>

namespace reference {

Vec3 direction(double azimuth, double elevation) {
  return {std::cos(azimuth) * std::cos(elevation), std::sin(azimuth) * std::cos(elevation),
          std::sin(elevation)};
}

double dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Frame tangentFrame(double azimuth, double elevation, double rotation) {
  const Vec3 east{-std::sin(azimuth), std::cos(azimuth), 0.0};
  const Vec3 north{-std::cos(azimuth) * std::sin(elevation), -std::sin(azimuth) * std::sin(elevation),
                   std::cos(elevation)};
  Frame frame{direction(azimuth, elevation), {}, {}};
  for (std::size_t i = 0; i < 3; ++i) {
    frame.tangent1[i] = std::cos(rotation) * east[i] + std::sin(rotation) * north[i];
    frame.tangent2[i] = std::cos(rotation) * north[i] - std::sin(rotation) * east[i];
  }
  return frame;
}

}  // namespace reference
