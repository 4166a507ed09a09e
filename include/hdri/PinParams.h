#pragma once

#include <cstdint>

namespace orv::hdri {

/// Names of the falloff curves. The values form one space: 16 to 20 are for circles, 32 to 37 for rectangles,
/// 256 and 512 for both.
enum class Falloff : std::uint32_t {
  circleCosine = 16,
  circleLinear = 17,
  circleQuadratic = 18,
  circleSmoothEdge = 19,
  circleGaussianEdge = 20,
  rectCosine = 32,
  rectLinear = 33,
  rectQuadratic = 34,
  rectBoxEdge = 35,
  rectBoxProduct = 36,
  rectBoxGaussian = 37,
  outline = 256,
  solid = 512,
};

/// A circular pin: the cap of directions within `radius` of a centre. Angles are radians.
struct CirclePinParams {
  float azimuth = 0;       ///< longitude of the centre, [-pi, pi]
  float elevation = 0;     ///< latitude of the centre, [-pi/2, pi/2]
  float radius = 0;        ///< angular radius, (0, pi]
  float rotation = 0;      ///< rotation of the pin's axes about its centre, from east towards north
  std::uint32_t half = 0;  ///< non-zero keeps only the positive side of the second axis
  Falloff falloffKind = Falloff::solid;
  float falloffAmount = 0.5f;  ///< the curve's parameter
};

/// A rectangular pin: the region between four great circles, tilted by `halfWidth` and `halfHeight` about a
/// centre. Angles are radians.
struct RectPinParams {
  float azimuth = 0;       ///< longitude of the centre, [-pi, pi]
  float elevation = 0;     ///< latitude of the centre, [-pi/2, pi/2]
  float halfWidth = 0;     ///< half-angle along the first axis, (0, pi/2)
  float halfHeight = 0;    ///< half-angle along the second axis, (0, pi/2)
  float rotation = 0;      ///< rotation of the pin's axes about its centre, from east towards north
  std::uint32_t half = 0;  ///< non-zero keeps only the positive side of the second axis
  float cornerRadius = 0;  ///< angular radius of the corners; above 1e-5 they are round
  Falloff falloffKind = Falloff::solid;
  float falloffAmount = 0.5f;  ///< the curve's parameter
};

/// Width of a softened edge on a map of this size, radians: `pixels` pixels in the coarser direction, the
/// vertical one where they are equal. Edges fade over it on their inner side.
inline float softEdgeWidth(std::int32_t width, std::int32_t height, float pixels = 1.5f) {
  const float across = pixels * 6.2831855f / static_cast<float>(width);
  const float down = pixels * 3.1415927f / static_cast<float>(height);
  return across > down ? across : down;
}

}  // namespace orv::hdri
