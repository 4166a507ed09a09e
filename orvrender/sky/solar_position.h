#pragma once

namespace orv::host {

/// Where the sun stands, degrees.
struct SolarPosition {
  double azimuth;    ///< compass: clockwise from north, 0 to 360
  double elevation;  ///< above the horizon, without refraction
};

/// Days from noon of 1 January 2000 (UTC) to `hours` on day `dayOfYear` (1 is 1 January) of 2026, the year
/// that all days are taken from.
/// @param timeZone hours ahead of UTC.
double daysFromJ2000(double dayOfYear, double hours, double timeZone);

/// The sun from a place. Low-precision formula of the Astronomical Almanac (Michalsky 1988); error below 0.02
/// degrees from 1950 to 2050.
/// @param days from J2000.0. @param latitude degrees north. @param longitude degrees east.
SolarPosition solarPosition(double days, double latitude, double longitude);

}  // namespace orv::host
