#pragma once

#include "shapes/FalloffCurve.h"
#include "shapes/trigonometry.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// What a curve may read of eight pixels.
struct FalloffInputs {
  Float8 u;
  Float8 v;
  Float8 cosAngle;
};

/// A curve's evaluation, from its `Float8 weight(const FalloffInputs&) const`.
template <typename Curve>
class LaneFalloff : public FalloffCurve {
 public:
  void evaluate(const PixelBatch& batch) const final {
    const float* const u = batch.u;
    const float* const v = batch.v;
    const float* const cosAngle = batch.cosAngle;
    const std::uint32_t* const mask = batch.mask;
    float* const weights = batch.weight;
    for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
      const Float8 value = weight({load(u + i), load(v + i), load(cosAngle + i)});
      store(weights + i, keep(loadMask(mask + i), value) * load(weights + i));
    }
  }

 private:
  Float8 weight(const FalloffInputs& in) const { return static_cast<const Curve*>(this)->weight(in); }
};

/// The fade of the last 1/k of x before 1: 1 inside, 0 at the edge. S is the smoothstep polynomial.
/// 1 - S(clamp01((x - 1) k + 1))
inline Float8 edgeFade(Float8 x, Float8 k) {
  const Float8 one = splat(1.0f);
  return one - smoothstep(clamp01(fma(x - one, k, one)));
}

/// A rim inside the edge at x = 1, of width 1/k, nearly solid: 5 S(clamp01(1 - (1 - x) k)).
inline Float8 rim(Float8 x, Float8 k) {
  const Float8 one = splat(1.0f);
  return splat(5.0f) * smoothstep(clamp01(fnma(one - x, k, one)));
}

/// sqrt(u^2 + v^2)
inline Float8 radial(const FalloffInputs& in) { return sqrt(fma(in.u, in.u, in.v * in.v)); }

/// (1 - x) (1 - a x) with b = a + 1, cut to [0, 1]: clamp01((x a - b) x + 1).
inline Float8 quadratic(Float8 x, Float8 a, Float8 b) { return clamp01(fma(fms(x, a, b), x, splat(1.0f))); }

}  // namespace orv::hdri::blockedAVX2
