#include "shapes/SphereCap.h"

#include <cmath>

#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

SphereCap capAround(float azimuth, float elevation, float radius) {
  return {directionFromAngles(azimuth, elevation),
          std::cos(radius),
          radius,
          azimuth,
          elevation,
          std::cos(elevation),
          std::sin(elevation)};
}

SphereCap halfSpace(const Float3& normal) {
  const float elevation = std::asin(std::fmin(std::fmax(normal.z, -1.0f), 1.0f));
  return {normal,
          0.0f,
          kHalfPi,
          std::atan2(normal.y, normal.x),
          elevation,
          std::cos(elevation),
          std::sin(elevation)};
}

bool rowCrossing(const SphereCap& cap, float cosRow, float sinRow, AzimuthSpan& interval) {
  // Spherical law of cosines: cos r = sin y sin e + cos y cos e cos(longitude difference)
  const float k = cosRow * cap.cosElevation;
  const float x = (cap.cosRadius - sinRow * cap.sinElevation) / k;
  if (std::abs(k) < 1e-6f || x < -1.0f) {
    interval = {-kPi, kPi};
    return true;
  }
  if (x > 1.0f) return false;
  const float half = std::acos(x);
  interval = {cap.azimuth - half, cap.azimuth + half};
  return true;
}

}  // namespace orv::hdri::blockedAVX2
