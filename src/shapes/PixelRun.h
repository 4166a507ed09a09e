#pragma once

#include <cstddef>
#include <cstdint>

#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

/// Up to `kRunBlocks` neighbouring blocks of one row, as planes: what a `PixelBatch` is to one block. Each
/// stage of a pin is a few short loops over a run, which stays in the first-level cache, and one virtual
/// call.
///
/// A view: the planes belong to a `RunPlanes` or to a `PixelBatch`. Pointers are 32-byte aligned; planes hold
/// 8 x `blocks` elements, the row's three hold eight.
struct PixelRun {
  std::uint32_t needs;
  std::size_t blocks;
  const float* elevation;     ///< the row's, the same in all eight lanes
  const float* sinElevation;  ///< likewise
  const float* cosElevation;  ///< likewise
  const float* azimuth;
  const float* sinAzimuth;     ///< sin(azimuth), or null: to be computed
  const float* cosAzimuth;     ///< cos(azimuth); null with the sine
  const float* cosFromCentre;  ///< cos(azimuth - the circle's centre azimuth), or null: to be computed

  float* u;
  float* v;
  float* changes[4];
  std::uint32_t* mask;
  float* cosAngle;
  float* dotT1;
  float* dotT2;
  float* weight;
  float* directionWorld[3];
};

inline constexpr std::size_t kRunBlocks = 64;

/// Storage of a run; one per thread.
struct alignas(32) RunPlanes {
  static constexpr std::size_t kPixels = 8 * kRunBlocks;
  alignas(32) float u[kPixels];
  alignas(32) std::uint32_t mask[kPixels];
  alignas(32) float cosAngle[kPixels];
  alignas(32) float weight[kPixels];
  alignas(32) float v[kPixels];
  alignas(32) float dotT1[kPixels];
  alignas(32) float dotT2[kPixels];
  alignas(32) float changes[4][kPixels];
  alignas(32) float directionWorld[3][kPixels];

  /// A run over these planes without row and columns, which the pass sets.
  PixelRun run();
};

/// A run of the one block `batch`.
PixelRun runOf(PixelBatch& batch);

}  // namespace orv::hdri::blockedAVX2
