#include "backgrounds/TiltSettings.h"

#include <cmath>

#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kSmallestAngle = 1e-5f;

}  // namespace

TiltSettings::TiltSettings(float azimuth, float tilt)
    : azimuth_(azimuth >= 0.0f && azimuth <= kTwoPi ? azimuth : 0.0f),
      tilt_(tilt >= -kPi && tilt <= kPi ? tilt : 0.0f) {}

bool TiltSettings::azimuthOnly() const { return std::abs(tilt_) < kSmallestAngle; }

std::uint32_t TiltSettings::columns(std::uint32_t width) const {
  return static_cast<std::uint32_t>(std::floor(static_cast<float>(width) * azimuth_ / kTwoPi));
}

bool TiltSettings::needed(std::uint32_t width) const {
  if (!azimuthOnly()) return true;
  return azimuth_ >= kSmallestAngle && columns(width) != 0;
}

}  // namespace orv::hdri::blockedAVX2
