#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Grows with the product of the distances to both pairs of edges.
class BoxProductFalloff final : public LaneFalloff<BoxProductFalloff> {
 public:
  explicit BoxProductFalloff(float k) : k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const {
    const Float8 one = splat(1.0f);
    return smoothstep(clamp01((one - abs(in.v)) * (one - abs(in.u)) * k_));
  }

 private:
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
