#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Falls in a straight line: 1 - k u.
class LinearFalloff final : public LaneFalloff<LinearFalloff> {
 public:
  explicit LinearFalloff(float k) : k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const { return clamp01(fnma(in.u, k_, splat(1.0f))); }

 private:
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
