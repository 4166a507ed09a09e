#pragma once

#include <cmath>
#include <cstddef>

#include "shapes/trigonometry_coefficients.h"

/// The painter's trigonometry for one number, with the same bits as a lane of its kernels has. At 8192
/// columns the cosine of half a pixel is one step below 1: what a small pin meets there is decided by the
/// rounding.
namespace orv::scene::painter {

using namespace hdri::blockedAVX2;

template <std::size_t n>
float polynomial(const float (&c)[n], float x) {
  float sum = c[0];
  for (std::size_t i = 1; i < n; ++i) sum = std::fma(sum, x, c[i]);
  return sum;
}

struct SinCos {
  float sin;
  float cos;
};

/// Radians, |x| below 1e6.
inline SinCos sinCos(float x) {
  const float q = std::floor(x * 0.63661975f);
  const float r = std::fma(-q, kHalfPi, x);
  const int quadrant = static_cast<int>(q);
  const float z = r * r;
  const float c = polynomial(kCosCoefficients, z);
  const float s = r * polynomial(kSinCoefficients, z);
  const bool odd = (quadrant & 1) != 0;
  const float sine = odd ? c : s, cosine = odd ? s : c;
  return {(quadrant & 2) != 0 ? -sine : sine, ((quadrant + 1) & 2) != 0 ? -cosine : cosine};
}

/// x in [-1, 1].
inline float arccos(float x) {
  const float a = std::abs(x);
  const float arc = kHalfPi - polynomial(kArccosCoefficients, a) * std::sqrt(1.0f - a);
  return kHalfPi - (x < 0 ? -arc : arc);
}

}  // namespace orv::scene::painter
