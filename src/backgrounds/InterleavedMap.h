#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "maps/AlignedArray.h"
#include "maps/BlockedMap.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// Where eight pixels are looked up: the upper left neighbour, and the weights of the right and lower ones.
struct SamplePositions {
  alignas(32) std::int64_t offsets[8];  ///< floats from the map's first pixel
  Float8 fx;
  Float8 fy;
};

/// A copy of a map to be looked up: its pixels interleaved, a pixel's right neighbour beside it. Each row has
/// its first pixel again at its end, and below the last row stands the first one, so that the four neighbours
/// of a position are two runs of six floats. Any number of threads look up.
class InterleavedMap {
 public:
  /// Empty.
  InterleavedMap() = default;
  /// Copies a map that is not empty, in parallel. @throws std::bad_alloc.
  explicit InterleavedMap(const BlockedMap& map);

  bool empty() const { return pixels_.size() == 0; }

  /// u = 0 hits the centre of the first column and u = 1 that of the last, v likewise from the top row down.
  /// Both are clamped to [0, 1]; a NaN counts as 0.
  void positions(Float8 u, Float8 v, SamplePositions& out) const;
  /// Asks for the pixels of positions ahead of their look-up.
  void fetch(const SamplePositions& at) const {
    for (int lane = 0; lane < kLanes; ++lane) {
      const float* const pixel = pixelAt(at, lane);
      prefetch(pixel);
      prefetch(pixel + stride_);
    }
  }
  /// The bilinear blend of the four neighbours of each position. @param streaming whether it is written past
  /// the caches; `finishStreaming` orders it.
  void sample(const SamplePositions& at, Block& out, bool streaming = false) const;
  /// Both for `out.size()` blocks at the positions u and v, eight a block, 32-byte aligned: the same bits,
  /// and the pixels of blocks to come are fetched meanwhile.
  void sample(const float* u, const float* v, std::span<Block> out) const;

 private:
  const float* pixelAt(const SamplePositions& at, int lane) const {
    return pixels_.data() + at.offsets[lane];
  }

  std::size_t stride_ = 0;  ///< floats from a pixel to the one below it
  float lastColumn_ = 0;
  float lastRow_ = 0;
  AlignedFloats pixels_;
  bool quartered_ = false;  ///< the pixels are so large that blends of them themselves would overflow
};

}  // namespace orv::hdri::blockedAVX2
