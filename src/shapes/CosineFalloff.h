#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Rises with the cosine of the angle to the centre: 0 at cosine `cosRim`, 1 from `cosRim` + 1/k on.
class CosineFalloff final : public LaneFalloff<CosineFalloff> {
 public:
  CosineFalloff(float cosRim, float k) : cosRim_(splat(cosRim)), k_(splat(k)) {}

  Float8 weight(const FalloffInputs& in) const { return smoothstep(clamp01((in.cosAngle - cosRim_) * k_)); }

 private:
  Float8 cosRim_;
  Float8 k_;
};

}  // namespace orv::hdri::blockedAVX2
