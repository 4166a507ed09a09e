#include "orvrender/sky/solar_position.h"

#include <algorithm>
#include <cmath>

#include "orvrender/sky/Atmosphere.h"

namespace orv::host {

double daysFromJ2000(double dayOfYear, double hours, double timeZone) {
  constexpr double kNewYear2026 = 9496.5;
  return kNewYear2026 + (dayOfYear - 1) + (hours - timeZone) / 24;
}

SolarPosition solarPosition(double days, double latitude, double longitude) {
  constexpr double kDegree = kPi / 180;
  const double n = days;

  // The sun on the ecliptic, then its right ascension and declination.
  const double meanLongitude = 280.460 + 0.9856474 * n;
  const double anomaly = (357.528 + 0.9856003 * n) * kDegree;
  const double lambda = (meanLongitude + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2 * anomaly)) * kDegree;
  const double obliquity = (23.439 - 4e-7 * n) * kDegree;
  const double rightAscension = std::atan2(std::cos(obliquity) * std::sin(lambda), std::cos(lambda));
  const double declination = std::asin(std::sin(obliquity) * std::sin(lambda));

  // Seen from the place: its hour angle, then east, north and up.
  const double siderealTime = 280.46062 + 360.98564737 * n;
  const double hourAngle = (siderealTime + longitude) * kDegree - rightAscension;
  const double phi = latitude * kDegree;
  const double east = -std::cos(declination) * std::sin(hourAngle);
  const double north =
      std::cos(phi) * std::sin(declination) - std::sin(phi) * std::cos(declination) * std::cos(hourAngle);
  const double up =
      std::sin(phi) * std::sin(declination) + std::cos(phi) * std::cos(declination) * std::cos(hourAngle);
  const double azimuth = std::atan2(east, north) / kDegree;
  return {azimuth < 0 ? azimuth + 360 : azimuth, std::asin(std::clamp(up, -1.0, 1.0)) / kDegree};
}

}  // namespace orv::host
