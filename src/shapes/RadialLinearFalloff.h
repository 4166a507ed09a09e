#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Falls in a straight line with the distance from the centre: 1 - k rho.
class RadialLinearFalloff final : public LaneFalloff<RadialLinearFalloff> {
 public:
  explicit RadialLinearFalloff(float k) : k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const { return clamp01(fnma(radial(in), k_, splat(1.0f))); }

 private:
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
