#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// A Gaussian exp(g u^2), fading to 0 over the last 1/k of the radius.
class GaussianEdgeFalloff final : public LaneFalloff<GaussianEdgeFalloff> {
 public:
  GaussianEdgeFalloff(float k, float g) : k_(splat(k)), g_(splat(g)) {}

  Float8 weight(const FalloffInputs& in) const { return exp((in.u * in.u) * g_) * edgeFade(in.u, k_); }

 private:
  Float8 k_;
  Float8 g_;
};

}  // namespace orv::hdri::blockedAVX2
