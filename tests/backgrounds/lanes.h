#pragma once

#include <complex>
#include <cstdint>
#include <numbers>

#include "backgrounds/maps.h"
#include "simd/Complex4.h"

/// What tests of the transforms share: complex numbers, roots of unity, and lines to transform.
namespace orv::hdri::blockedAVX2 {

using Complex = std::complex<double>;

/// exp(i turns 2 pi / length)
inline Complex rootOf(std::uint64_t turns, std::uint64_t length) {
  const double angle =
      2 * std::numbers::pi * static_cast<double>(turns % length) / static_cast<double>(length);
  return {std::cos(angle), std::sin(angle)};
}

inline Complex lane(const Complex4& z, std::size_t i) {
  alignas(32) double re[4], im[4];
  store(re, z.re);
  store(im, z.im);
  return {re[i], im[i]};
}

/// Repeatable lanes, different for each index.
inline Complex4 sample(std::uint32_t index) {
  alignas(32) double re[4], im[4];
  for (int i = 0; i < 4; ++i) {
    re[i] = noise(static_cast<int>(index), i)[0] - 0.5;
    im[i] = noise(static_cast<int>(index), i)[1] - 0.5;
  }
  return {load(re), load(im)};
}

}  // namespace orv::hdri::blockedAVX2
