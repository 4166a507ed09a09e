#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// (1 - u) (1 - a u), with b = a + 1.
class QuadraticFalloff final : public LaneFalloff<QuadraticFalloff> {
 public:
  QuadraticFalloff(float a, float b) : a_(splat(a)), b_(splat(b)) {}

  Float8 weight(const FalloffInputs& in) const { return quadratic(in.u, a_, b_); }

 private:
  Float8 a_;
  Float8 b_;
};

}  // namespace orv::hdri::blockedAVX2
