#pragma once

#include <cstddef>
#include <cstdint>

#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

/// What a pin asks of its shape for each pixel, besides coverage. Bits of `needs`.
inline constexpr std::uint32_t kNeedsSoftEdge = 0x10;     ///< an edge softened over one pixel angle
inline constexpr std::uint32_t kNeedsCoordinates = 0x20;  ///< the pin's own coordinates and their changes
inline constexpr std::uint32_t kNeedsDirection = 0x40;    ///< the direction on the sphere, and dotT1, dotT2

/// The most blocks of a batch: its planes then stay in the first-level cache.
inline constexpr std::size_t kBatchBlocks = 64;

/// One to `kBatchBlocks` neighbouring blocks of a row on their way from the row pass through shape, falloff
/// and fill, as planes: element i is the batch's pixel i. Each stage is a few short loops over the planes and
/// one virtual call. Pixels beyond the map's width hold numbers that nothing reads.
///
/// A view: the planes belong to a `BatchPlanes`, the plan and the row. Pointers are 32-byte aligned; planes
/// hold 8 x `blocks` elements, the row's three hold eight.
struct PixelBatch {
  std::uint32_t needs;         ///< set by the pass
  std::size_t blocks;          ///< set by the pass
  const float* azimuth;        ///< set by the pass; radians
  const float* elevation;      ///< set by the pass; the row's, the same in all eight lanes
  const float* sinElevation;   ///< set by the pass, likewise
  const float* cosElevation;   ///< set by the pass, likewise
  float* u;                    ///< circle: distance to the centre / radius; rectangle: -1 to 1
  float* v;                    ///< circle: angle about the centre, 0 to 1; rectangle: -1 to 1
  float* changes[4];           ///< du/azimuth, du/elevation, dv/azimuth, dv/elevation, a pixel
  std::uint32_t* mask;         ///< all ones inside the shape
  float* cosAngle;             ///< cosine of the angle to the centre
  float* dotT1;                ///< direction . first tangent axis
  float* dotT2;                ///< direction . second tangent axis
  float* weight;               ///< the shape's edge weight, then the pin's weight
  Block* color;                ///< the map's pixels, a block each
  float* directionWorld[3];    ///< x, y, z on the sphere, with kNeedsDirection
  const float* sinAzimuth;     ///< sin(azimuth)
  const float* cosAzimuth;     ///< cos(azimuth)
  const float* cosFromCentre;  ///< cos(azimuth - the circle's centre azimuth), or null: to be computed

  /// The `count` blocks from block `first` on.
  PixelBatch part(std::size_t first, std::size_t count) const;
};

/// Storage of what shapes and falloffs write; one per thread.
struct alignas(32) BatchPlanes {
  static constexpr std::size_t kPixels = 8 * kBatchBlocks;
  alignas(32) float u[kPixels];
  alignas(32) std::uint32_t mask[kPixels];
  alignas(32) float cosAngle[kPixels];
  alignas(32) float weight[kPixels];
  alignas(32) float v[kPixels];
  alignas(32) float dotT1[kPixels];
  alignas(32) float dotT2[kPixels];
  alignas(32) float changes[4][kPixels];
  alignas(32) float directionWorld[3][kPixels];

  /// A batch over these planes without row, columns and pixels, which the pass sets.
  PixelBatch batch();
};

}  // namespace orv::hdri::blockedAVX2
