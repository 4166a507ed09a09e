#pragma once

#include <cstdint>

#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {

/// How far the blur spreads, and its Gaussian kernel once the map is known.
class BlurSettings {
 public:
  /// @param amount spread in percent of the map's width, two standard deviations; what is not above 0 counts
  ///        as 0.
  explicit BlurSettings(float amount) : amount_(amount > 0.0f ? amount : 0.0f) {}

  float amount() const { return amount_; }
  /// Standard deviation on a map of this width, in pixels: (width / 100) (amount / 2).
  float sigma(std::uint32_t width) const;
  /// Whether a neighbour's weight on a map of this width matters: exp(-1 / (2 sigma^2)) is at least 1e-10.
  bool reachesNeighbours(std::uint32_t width) const;

  /// Makes the half kernel for a map of this size whose largest channel value is `maximum`:
  ///   w(i) = exp(-i^2 / (2 sigma^2)),
  /// out to where w falls to 0.1 / max(1, maximum), so that bright suns spread fully while dim maps have
  /// short kernels; normalised to w(0) + 2 (w(1) + ... + w(radius)) = 1. The radius stays below both sizes.
  /// @return false, and no kernel, where sigma is so small that the blur would change nothing.
  bool makeKernel(std::uint32_t width, std::uint32_t height, float maximum);

  /// Whole pixels that the kernel reaches to each side; 0 without a kernel.
  std::uint32_t radius() const;
  /// radius + 1 weights, the centre's first.
  const AlignedFloats& kernel() const { return kernel_; }

 private:
  float amount_;
  AlignedFloats kernel_;
};

}  // namespace orv::hdri::blockedAVX2
