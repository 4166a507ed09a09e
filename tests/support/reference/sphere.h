#pragma once

#include <array>

/// Sphere geometry in double precision with the C library's functions: what the painter's kernels are
/// compared with.
namespace reference {

using Vec3 = std::array<double, 3>;
using Matrix3 = std::array<std::array<double, 3>, 3>;

/// (cos a cos e, sin a cos e, sin e).
Vec3 direction(double azimuth, double elevation);
double dot(const Vec3& a, const Vec3& b);

struct Frame {
  Vec3 centre;
  Vec3 tangent1;  ///< east, rotated towards north by the frame's rotation
  Vec3 tangent2;  ///< north, rotated towards west
};
Frame tangentFrame(double azimuth, double elevation, double rotation);

}  // namespace reference
