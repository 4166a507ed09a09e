#include "shapes/sphere_geometry.h"

#include <cmath>

namespace orv::hdri::blockedAVX2 {

Float3 directionFromAngles(float azimuth, float elevation) {
  const float cosElevation = std::cos(elevation);
  return {std::cos(azimuth) * cosElevation, std::sin(azimuth) * cosElevation, std::sin(elevation)};
}

TangentFrame tangentFrame(float azimuth, float elevation, float rotation) {
  const float cosA = std::cos(azimuth);
  const float sinA = std::sin(azimuth);
  const float cosE = std::cos(elevation);
  const float sinE = std::sin(elevation);
  const float cosR = std::cos(rotation);
  const float sinR = std::sin(rotation);
  const Float3 east{-sinA, cosA, 0.0f};
  const Float3 north{-cosA * sinE, -sinA * sinE, cosE};
  return {{cosA * cosE, sinA * cosE, sinE},
          {cosR * east.x + sinR * north.x, cosR * east.y + sinR * north.y, cosR * east.z + sinR * north.z},
          {cosR * north.x - sinR * east.x, cosR * north.y - sinR * east.y, cosR * north.z - sinR * east.z}};
}

float boundingRadius(float halfWidth, float halfHeight) {
  return static_cast<float>(
      std::acos(std::cos(static_cast<double>(halfWidth)) * std::cos(static_cast<double>(halfHeight))));
}

Quaternion quaternionFromAxis(const Double3& axis, double angle) {
  const double scale = std::sin(angle / 2) / std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
  return {std::cos(angle / 2), axis.x * scale, axis.y * scale, axis.z * scale};
}

Quaternion operator*(const Quaternion& a, const Quaternion& b) {
  return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
          a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Quaternion conjugate(const Quaternion& q) { return {q.w, -q.x, -q.y, -q.z}; }

Matrix3 rotationMatrix(const Quaternion& q) {
  const auto [w, x, y, z] = q;
  const double squared = w * w + x * x + y * y + z * z;
  const double s = squared == 0 ? 0 : 2 / squared;
  return {{{1 - s * (y * y + z * z), s * (x * y - w * z), s * (x * z + w * y)},
           {s * (x * y + w * z), 1 - s * (x * x + z * z), s * (y * z - w * x)},
           {s * (x * z - w * y), s * (y * z + w * x), 1 - s * (x * x + y * y)}}};
}

Double3 rotate(const Matrix3& m, const Double3& v) {
  return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z, m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
          m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

Double3 rotateBack(const Matrix3& m, const Double3& v) {
  return {m[0][0] * v.x + m[1][0] * v.y + m[2][0] * v.z, m[0][1] * v.x + m[1][1] * v.y + m[2][1] * v.z,
          m[0][2] * v.x + m[1][2] * v.y + m[2][2] * v.z};
}

}  // namespace orv::hdri::blockedAVX2
