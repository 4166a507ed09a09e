#pragma once

#include <bit>
#include <cstdint>

#include "simd/Float8.h"

/// Reaching single lanes, and sweeping functions of eight lanes over bit patterns.
namespace lanes {

using orv::hdri::blockedAVX2::Float8;

inline float first(Float8 a) {
  alignas(32) float out[8];
  store(out, a);
  return out[0];
}

/// `function` of one number, in all lanes.
template <typename Function>
float at(float x, const Function& function) {
  return first(function(orv::hdri::blockedAVX2::splat(x)));
}

template <typename Function>
float at(float y, float x, const Function& function) {
  return first(function(orv::hdri::blockedAVX2::splat(y), orv::hdri::blockedAVX2::splat(x)));
}

/// Calls `visit(x, function(x))` for every `stride`-th bit pattern that is a number in [low, high], of both
/// signs and all exponents.
template <typename Function, typename Visit>
void sweep(float low, float high, std::uint32_t stride, const Function& function, const Visit& visit) {
  alignas(32) float in[8];
  alignas(32) float out[8];
  int filled = 0;
  const auto flush = [&] {
    for (int i = filled; i < 8; ++i) in[i] = in[0];
    store(out, function(orv::hdri::blockedAVX2::load(in)));
    for (int i = 0; i < filled; ++i) visit(in[i], out[i]);
    filled = 0;
  };
  for (std::uint64_t bits = 0; bits < std::uint64_t{1} << 32; bits += stride) {
    const float x = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    if (!(x >= low && x <= high)) continue;
    in[filled++] = x;
    if (filled == 8) flush();
  }
  if (filled > 0) flush();
}

}  // namespace lanes
