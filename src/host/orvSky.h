#pragma once

#include <cstdint>

class orvScene;

/// The host's sky: its settings, then its operations. The painter writes the settings from a brush and asks
/// for a rendering; it never interprets them. The order of fields and of operations is part of the interface.
class orvSky {
 public:
  /// 1: renders width x height interleaved RGB floats, row 0 nearest the zenith, into `rgb`.
  /// @param description the sky description that the painter was given, opaque.
  virtual void render(const void* description, float* rgb, std::uint32_t width, std::uint32_t height) = 0;
  /// 2: fixes the sun. @param direction three doubles, the unit direction in which sunlight travels, y up.
  virtual void set_sun_direction(const double* direction) = 0;
  /// 3: lets the sun follow the sky's own place and time.
  virtual void use_own_sun() = 0;

  float hours = 10.0f;             ///< local clock time, 0 to 24
  std::uint32_t dayOfYear = 172;   ///< 1 is 1 January, to 366
  float timeZone = 0.0f;           ///< hours ahead of UTC, -12 to 14
  float latitude = 45.0f;          ///< degrees north, -90 to 90
  float longitude = 0.0f;          ///< degrees east, -180 to 180
  float northOffset = 0.0f;        ///< degrees, -360 to 360: turns north along the map
  float skyIntensity = 1.0f;       ///< factor of scattered light, at least 0
  float sunIntensity = 1.0f;       ///< factor of the disc and of direct light, at least 0
  float sunSize = 1.0f;            ///< factor of the disc's diameter, 0.1 to 30
  float turbidity = 2.5f;          ///< haze, 1 (pure air) to 10
  float ozone = 1.0f;              ///< column, in 300 Dobson units, 0 to 3
  float groundAlbedo = 0.2f;       ///< 0 to 1
  std::uint8_t settingsGiven = 0;  ///< 1 once a brush has written the twelve settings

 protected:
  ~orvSky() = default;
};

extern "C" {

/// The scene's sky, owned by the host, or null when the scene has none.
orvSky* orv_get_sky(orvScene* scene);

}  // extern "C"
