#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// A rim inside the rectangle's edges, 1/ku and 1/kv of the half-axes wide.
class FrameFalloff final : public LaneFalloff<FrameFalloff> {
 public:
  FrameFalloff(float ku, float kv) : ku_(splat(ku)), kv_(splat(kv)) {}

  Float8 weight(const FalloffInputs& in) const {
    return clamp01(max(rim(abs(in.u), ku_), rim(abs(in.v), kv_)));
  }

 private:
  Float8 ku_;
  Float8 kv_;
};

}  // namespace orv::hdri::blockedAVX2
