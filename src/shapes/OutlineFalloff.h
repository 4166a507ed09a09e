#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// A rim inside the circle's edge, 1/k of the radius wide.
class OutlineFalloff final : public LaneFalloff<OutlineFalloff> {
 public:
  explicit OutlineFalloff(float k) : k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const { return clamp01(rim(in.u, k_)); }

 private:
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
