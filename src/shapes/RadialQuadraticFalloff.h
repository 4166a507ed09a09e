#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// (1 - rho) (1 - a rho) with b = a + 1, and 0 beyond the inscribed ellipse.
class RadialQuadraticFalloff final : public LaneFalloff<RadialQuadraticFalloff> {
 public:
  RadialQuadraticFalloff(float a, float b) : a_(splat(a)), b_(splat(b)) {}

  Float8 weight(const FalloffInputs& in) const {
    const Float8 rho = radial(in);
    const Mask8 beyond = rho > splat(1.0f);
    return keep(!beyond, quadratic(rho, a_, b_));
  }

 private:
  Float8 a_;
  Float8 b_;
};

}  // namespace orv::hdri::blockedAVX2
