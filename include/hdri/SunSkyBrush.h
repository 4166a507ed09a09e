#pragma once

#include "hdri/Brush.h"

namespace orv::hdri {

/// Settings of the sky, in the order in which a brush holds them. Ranges are the host sky's; it clamps what
/// it is given.
struct SkySettings {
  float turbidity = 2.5f;          ///< haze, 1 (pure air) to 10
  float ozone = 1.0f;              ///< column, in 300 Dobson units, 0 to 3
  float groundAlbedo = 0.2f;       ///< 0 to 1
  float skyIntensity = 1.0f;       ///< factor of scattered light, at least 0
  float sunIntensity = 1.0f;       ///< factor of the disc and of direct light, at least 0
  float sunSize = 1.0f;            ///< factor of the disc's diameter, 0.1 to 30
  float latitude = 45.0f;          ///< degrees north, -90 to 90
  float longitude = 0.0f;          ///< degrees east, -180 to 180
  float hours = 10.0f;             ///< local clock time, 0 to 24
  std::uint8_t sunFromAngles = 0;  ///< non-zero: the two angles below fix the sun
  float sunAzimuth = 0.0f;         ///< degrees, longitude on the map
  float sunElevation = 45.0f;      ///< degrees
  std::uint32_t dayOfYear = 172;   ///< 1 is 1 January, to 366
  float timeZone = 0.0f;           ///< hours ahead of UTC, -12 to 14
  float northOffset = 0.0f;        ///< degrees, -360 to 360

  friend constexpr bool operator==(const SkySettings& a, const SkySettings& b) {
    return a.turbidity == b.turbidity && a.ozone == b.ozone && a.groundAlbedo == b.groundAlbedo &&
           a.skyIntensity == b.skyIntensity && a.sunIntensity == b.sunIntensity && a.sunSize == b.sunSize &&
           a.latitude == b.latitude && a.longitude == b.longitude && a.hours == b.hours &&
           a.sunFromAngles == b.sunFromAngles && a.sunAzimuth == b.sunAzimuth &&
           a.sunElevation == b.sunElevation && a.dayOfYear == b.dayOfYear && a.timeZone == b.timeZone &&
           a.northOffset == b.northOffset;
  }
  friend constexpr bool operator!=(const SkySettings& a, const SkySettings& b) { return !(a == b); }
};

/// The host's sun-and-sky model.
class SunSkyBrush final : public Brush {
 public:
  SunSkyBrush() = default;

  const SkySettings& settings() const { return settings_; }
  SkySettings& settings() { return settings_; }
  /// The node made by `hostNode`, or null.
  const orvNode* node() const { return hostNode_; }

  BrushKind kind() const override { return BrushKind::sunSky; }
  bool equals(const Brush& other) const override;
  std::shared_ptr<Brush> clone() const override;
  /// The node's parameters carry the names of the settings; an animated "hours" leaves the sun to the host.
  orvNode* hostNode(orvScene* scene) override;

 private:
  orvNode* hostNode_ = nullptr;
  SkySettings settings_;
};

}  // namespace orv::hdri
