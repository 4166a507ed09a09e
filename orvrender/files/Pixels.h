#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/orvMemory.h"

namespace orv::host {

struct AlignedFree {
  void operator()(void* storage) const { orv_free_aligned(storage); }
};

/// A float array in the host's memory, 32-byte aligned, not initialised.
using Floats = std::unique_ptr<float[], AlignedFree>;

/// @return the array; null when there is no memory.
inline Floats allocateFloats(std::size_t count) {
  return Floats(static_cast<float*>(orv_malloc_aligned(count * sizeof(float), 32)));
}

/// How many levels an image and its smaller copies make, each half of the one before, down to one pixel.
inline std::uint32_t mipLevels(std::uint32_t width, std::uint32_t height) {
  return static_cast<std::uint32_t>(std::bit_width(std::max(width, height)));
}

/// An image in memory: linear, finite, colour associated with alpha. Rows packed, row 0 at the top.
struct Pixels {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Floats rgb;    ///< width x height x 3
  Floats alpha;  ///< width x height, 0 to 1; null: 1 everywhere

  std::size_t count() const { return std::size_t{width} * height; }
  std::size_t bytes() const { return count() * sizeof(float) * (alpha ? 4 : 3); }
};

}  // namespace orv::host
