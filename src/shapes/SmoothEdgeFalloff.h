#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Solid, fading smoothly over the last 1/k of the radius.
class SmoothEdgeFalloff final : public LaneFalloff<SmoothEdgeFalloff> {
 public:
  explicit SmoothEdgeFalloff(float k) : k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const { return edgeFade(in.u, k_); }

 private:
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
