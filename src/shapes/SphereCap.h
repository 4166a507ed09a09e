#pragma once

#include "shapes/AzimuthSpans.h"
#include "shapes/sphere_geometry.h"

namespace orv::hdri::blockedAVX2 {

/// The directions within `radius` of a centre. With cosRadius 0 and radius pi/2 it is the half-space on the
/// positive side of the plane through the origin whose normal is the centre.
struct SphereCap {
  Float3 centre;
  float cosRadius;
  float radius;
  float azimuth;  ///< the centre's
  float elevation;
  float cosElevation;
  float sinElevation;
};

/// The cap about (azimuth, elevation).
SphereCap capAround(float azimuth, float elevation, float radius);

/// The half-space of directions p with p . normal >= 0; `normal` has length 1.
SphereCap halfSpace(const Float3& normal);

/// The longitudes at which a row crosses a cap: an interval about the cap's centre, or the whole row from -pi
/// to pi when the row or the centre is at a pole or the cap holds the row.
/// @param cosRow, sinRow of the row's elevation. @return false when the row misses the cap.
bool rowCrossing(const SphereCap& cap, float cosRow, float sinRow, AzimuthSpan& interval);

}  // namespace orv::hdri::blockedAVX2
