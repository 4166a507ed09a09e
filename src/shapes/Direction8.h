#pragma once

#include "shapes/PixelBatch.h"
#include "shapes/sphere_geometry.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

/// Eight directions, or one in all lanes.
struct Direction8 {
  Float8 x;
  Float8 y;
  Float8 z;
};

inline Direction8 splat(const Float3& v) { return {splat(v.x), splat(v.y), splat(v.z)}; }

inline Float8 dot(const Direction8& a, const Direction8& b) {
  return fma(a.x, b.x, fma(a.y, b.y, a.z * b.z));
}

/// A pin's axes, each in all lanes.
struct Frame8 {
  Direction8 centre;
  Direction8 tangent1;
  Direction8 tangent2;

  explicit Frame8(const TangentFrame& frame)
      : centre(splat(frame.centre)), tangent1(splat(frame.tangent1)), tangent2(splat(frame.tangent2)) {}
};

/// Sine and cosine of the azimuths of pixels i to i + 7.
inline SinCos8 sinCosAzimuth(const PixelBatch& batch, std::size_t i) {
  return {load(batch.sinAzimuth + i), load(batch.cosAzimuth + i)};
}

/// Writes `cosAngle` (not clamped), `dotT1` and `dotT2`: the pixels' directions in the frame; the directions
/// themselves as well where they are asked for.
void project(const PixelBatch& batch, const Frame8& frame);

}  // namespace orv::hdri::blockedAVX2
