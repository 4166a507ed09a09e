#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// Solid, fading smoothly in a band along the rectangle's edges, 1/ku and 1/kv of the half-axes wide.
class BoxEdgeFalloff final : public LaneFalloff<BoxEdgeFalloff> {
 public:
  BoxEdgeFalloff(float ku, float kv) : ku_(splat(ku)), kv_(splat(kv)) {}

  Float8 weight(const FalloffInputs& in) const { return edgeFade(abs(in.u), ku_) * edgeFade(abs(in.v), kv_); }

 private:
  Float8 ku_;
  Float8 kv_;
};

}  // namespace orv::hdri::blockedAVX2
