#include "orvrender/sky/SkyConditions.h"

#include <algorithm>
#include <cmath>

namespace orv::host {

namespace {

// Radiances stay finite below this factor.
constexpr float kMostIntensity = 1e30f;

void take(float& setting, float given, float low, float high) {
  if (std::isfinite(given)) setting = std::clamp(given, low, high);
}

}  // namespace

SkyConditions conditionsOf(const orvSky& sky) {
  SkyConditions out;
  if (!sky.settingsGiven) return out;
  take(out.hours, sky.hours, 0, 24);
  out.dayOfYear = std::clamp(sky.dayOfYear, 1u, 366u);
  take(out.timeZone, sky.timeZone, -12, 14);
  take(out.latitude, sky.latitude, -90, 90);
  take(out.longitude, sky.longitude, -180, 180);
  take(out.northOffset, sky.northOffset, -360, 360);
  take(out.skyIntensity, sky.skyIntensity, 0, kMostIntensity);
  take(out.sunIntensity, sky.sunIntensity, 0, kMostIntensity);
  take(out.sunSize, sky.sunSize, 0.1f, 30);
  take(out.turbidity, sky.turbidity, 1, 10);
  take(out.ozone, sky.ozone, 0, 3);
  take(out.groundAlbedo, sky.groundAlbedo, 0, 1);
  return out;
}

}  // namespace orv::host
