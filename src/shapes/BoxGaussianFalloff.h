#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// A Gaussian of the distance to the axes, fading to 0 in a band along the rectangle's edges.
class BoxGaussianFalloff final : public LaneFalloff<BoxGaussianFalloff> {
 public:
  BoxGaussianFalloff(float ku, float kv, float g) : ku_(splat(ku)), kv_(splat(kv)), g_(splat(g)) {}

  Float8 weight(const FalloffInputs& in) const {
    const Float8 one = splat(1.0f);
    const Float8 absU = abs(in.u);
    const Float8 absV = abs(in.v);
    const Float8 d = fnma(one - absV, one - absU, one);
    return exp(d * g_) * edgeFade(absV, kv_) * edgeFade(absU, ku_);
  }

 private:
  Float8 ku_;
  Float8 kv_;
  Float8 g_;
};

}  // namespace orv::hdri::blockedAVX2
