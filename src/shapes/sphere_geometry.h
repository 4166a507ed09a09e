#pragma once

#include <array>

/// Scalar geometry of the sphere, used when shapes, fills and the tilt are set up. Longitudes grow from +x
/// towards +y, +z is up; angles are radians.
namespace orv::hdri::blockedAVX2 {

struct Float3 {
  float x;
  float y;
  float z;
};

/// (cos a cos e, sin a cos e, sin e).
Float3 directionFromAngles(float azimuth, float elevation);

/// The axes of a pin's plane. Without rotation, `tangent1` points east (to growing azimuth) and `tangent2`
/// north.
struct TangentFrame {
  Float3 centre;
  Float3 tangent1;  ///< east, rotated towards north
  Float3 tangent2;  ///< north, rotated towards west
};
TangentFrame tangentFrame(float azimuth, float elevation, float rotation);

/// The angle between a rectangle's centre and its corners, arccos(cos w cos h), computed in double precision.
float boundingRadius(float halfWidth, float halfHeight);

struct Double3 {
  double x;
  double y;
  double z;
};

struct Quaternion {
  double w;
  double x;
  double y;
  double z;
};

/// A turn by `angle` about `axis`, which need not have length 1: (cos angle/2, axis sin angle/2).
Quaternion quaternionFromAxis(const Double3& axis, double angle);
/// Hamilton's product: the right factor turns first.
Quaternion operator*(const Quaternion& a, const Quaternion& b);
/// The opposite turn, of a unit quaternion.
Quaternion conjugate(const Quaternion& q);

/// Rows, then columns.
using Matrix3 = std::array<std::array<double, 3>, 3>;

/// The rotation by q, which need not have length 1; the identity for 0. Column vectors: v' = M v.
Matrix3 rotationMatrix(const Quaternion& q);
/// M v.
Double3 rotate(const Matrix3& m, const Double3& v);
/// M^T v, which undoes `rotate`.
Double3 rotateBack(const Matrix3& m, const Double3& v);

}  // namespace orv::hdri::blockedAVX2
