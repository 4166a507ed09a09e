#pragma once

#include "shapes/trigonometry_coefficients.h"
#include "simd/Float8.h"

/// Vector trigonometry: polynomials on eight lanes, without tables or calls. The coefficients decide the look
/// of every painted edge, so they are fixed to the bit. Accuracy is measured over bit patterns against long
/// double in tests/shapes/trigonometry_test.cpp; every function is pure and callable from any thread.
namespace orv::hdri::blockedAVX2 {

/// c[0] x^(n-1) + … + c[n-1] by Horner's rule, each step fused.
template <int n>
inline Float8 polynomial(const float (&c)[n], Float8 x) {
  Float8 sum = splat(c[0]);
  for (int i = 1; i < n; ++i) sum = fma(sum, x, splat(c[i]));
  return sum;
}

/// The largest whole number not above x.
inline Float8 floor(Float8 x) {
  const Float8 rounded = roundNearest(x);
  return rounded - keep(rounded > x, splat(1.0f));
}

/// x as r + quadrant pi/2 with r in [0, pi/2].
struct QuarterTurn {
  Float8 r;
  Int8 quadrant;
};

inline QuarterTurn reduceToQuarterTurn(Float8 x) {
  const Float8 q = floor(x * splat(0.63661975f));
  return {fnma(q, splat(kHalfPi), x), toIntNearest(q)};
}

/// Odd quadrants, as sign bits.
inline Float8 oddQuadrants(Int8 quadrant) { return bitsToFloat(shiftLeft<31>(quadrant)); }

struct SinCos8 {
  Float8 sin;
  Float8 cos;
};

/// Sine and cosine of each lane, radians. Absolute error below 1.9e-7 on [-pi, pi], 2.6e-7 on [-2 pi, 2 pi]
/// and 6.5e-7 on [-20, 20]; beyond, it grows with the rounding of pi/2, as 2.9e-8 |x|.
inline SinCos8 sinCos(Float8 x) {
  const QuarterTurn turn = reduceToQuarterTurn(x);
  const Float8 z = turn.r * turn.r;
  const Float8 c = polynomial(kCosCoefficients, z);
  const Float8 s = turn.r * polynomial(kSinCoefficients, z);
  const Float8 odd = oddQuadrants(turn.quadrant);
  // The sine is negative in quadrants 2 and 3, the cosine in 1 and 2: bit 1 of n and of n + 1.
  return {xorSign(selectBySign(odd, c, s), bitsToFloat(shiftLeft<30>(turn.quadrant))),
          xorSign(selectBySign(odd, s, c), bitsToFloat(shiftLeft<30>(turn.quadrant + splat(1))))};
}

inline Float8 sin(Float8 x) { return sinCos(x).sin; }

/// The cosine alone: one polynomial whose coefficients are chosen per lane. The same bits as `sinCos(x).cos`.
inline Float8 cos(Float8 x) {
  const QuarterTurn turn = reduceToQuarterTurn(x);
  const Float8 z = turn.r * turn.r;
  const Float8 odd = oddQuadrants(turn.quadrant);
  Float8 p = selectBySign(odd, splat(kSinCoefficients[0]), splat(kCosCoefficients[0]));
  for (int i = 1; i < 5; ++i) {
    p = fma(p, z, selectBySign(odd, splat(kSinCoefficients[i]), splat(kCosCoefficients[i])));
  }
  p = fma(p, z, splat(1.0f));
  return xorSign(p * selectBySign(odd, turn.r, splat(1.0f)),
                 bitsToFloat(shiftLeft<30>(turn.quadrant + splat(1))));
}

/// Arc sine of each lane, radians in [-pi/2, pi/2]: pi/2 - arccos |x| with the sign of x. Absolute error
/// below 1.3e-6; x in [-1, 1], not a number outside.
inline Float8 arcsin(Float8 x) {
  const Float8 a = abs(x);
  const Float8 g = polynomial(kArccosCoefficients, a) * sqrt(splat(1.0f) - a);
  return xorSign(splat(kHalfPi) - g, keep(x < zero8(), signBit()));
}

/// Arc cosine of each lane, radians in [0, pi]; x in [-1, 1], not a number outside. After Abramowitz &
/// Stegun 4.4.46, cut to six terms: absolute error below 1.4e-6.
inline Float8 arccos(Float8 x) { return splat(kHalfPi) - arcsin(x); }

/// Arc tangent of each lane, radians in [-pi/2, pi/2]; any number. Absolute error below 2e-7, relative
/// below 2.4e-7.
inline Float8 arctan(Float8 z) {
  const Float8 m = abs(z);
  const Mask8 steep = m > splat(1.0f);
  const Float8 t = select(steep, splat(1.0f) / m, m);
  const Float8 a = t * polynomial(kArctanCoefficients, t * t);
  return xorSign(select(steep, splat(kHalfPi) - a, a), keep(z < zero8(), signBit()));
}

/// The angle of (x, y), radians in [-pi, pi]; 0 for (0, 0). Absolute error below 3.6e-7.
inline Float8 atan2(Float8 y, Float8 x) {
  const Float8 turn = keep(x < zero8(), select(y >= zero8(), splat(kPi), splat(-kPi)));
  const Float8 angle = arctan(y / x) + turn;
  const Mask8 origin = bitsToFloat(floatToBits(y) | floatToBits(x)) == zero8();
  return clear(origin, angle);
}

/// e^x. Relative error below 1.2e-7 on [-87.3, 88.7]. Exactly 0 below -87.7; above 88.4 the scale stays at
/// the largest finite float, and the result may be infinite.
inline Float8 exp(Float8 x) {
  const Float8 n = floor(fma(x, splat(1.442695f), splat(0.5f)));
  // Subtract n ln 2 in two parts, so that the remainder keeps its low bits.
  const Float8 r = fnma(n, splat(-0.00021219444f), fnma(n, splat(0.6933594f), x));
  const Float8 e = fma(r * r, polynomial(kExpCoefficients, r), r + splat(1.0f));
  const Float8 power = bitsToFloat(shiftLeft<23>(toIntNearest(n) + splat(127)));
  const Float8 scale = select(n >= splat(128.0f), splat(3.4028235e38f), power);
  const Mask8 vanishes = n < splat(-127.0f);
  return clear(vanishes, e * scale);
}

/// t^2 (3 - 2 t); t in [0, 1]. Absolute error below 7.6e-8.
inline Float8 smoothstep(Float8 t) { return fnma(splat(2.0f), t, splat(3.0f)) * (t * t); }

}  // namespace orv::hdri::blockedAVX2
