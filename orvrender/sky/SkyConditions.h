#pragma once

#include <cstdint>

#include "host/orvSky.h"

namespace orv::host {

/// The settings of a sky, each in its range.
struct SkyConditions {
  float hours = 10;
  std::uint32_t dayOfYear = 172;
  float timeZone = 0;
  float latitude = 45;
  float longitude = 0;
  float northOffset = 0;
  float skyIntensity = 1;
  float sunIntensity = 1;
  float sunSize = 1;
  float turbidity = 2.5f;
  float ozone = 1;
  float groundAlbedo = 0.2f;
};

/// Where the sun stands over the map, radians: longitude and latitude.
struct SunPlace {
  double azimuth;
  double elevation;
};

/// What a sky is to be rendered with: its settings clamped to their ranges, the default for one that is not
/// finite, and all defaults when no settings were given.
SkyConditions conditionsOf(const orvSky& sky);

}  // namespace orv::host
