#pragma once

#include <cstdint>

namespace orv::hdri::blockedAVX2 {

/// What a pin asks of its shape for each pixel, besides coverage. Bits of `needs`.
inline constexpr std::uint32_t kNeedsSoftEdge = 0x10;     ///< an edge softened over one pixel angle
inline constexpr std::uint32_t kNeedsCoordinates = 0x20;  ///< the pin's own coordinates and their changes
inline constexpr std::uint32_t kNeedsDirection = 0x40;    ///< the direction on the sphere, and dotT1, dotT2

/// Eight consecutive pixels of one row on their way from the row pass through shape, falloff and fill. Lane i
/// is the block's pixel i; lanes beyond the map's width hold numbers that nothing reads.
struct alignas(32) PixelBatch {
  std::uint32_t needs;                     ///< set by the pass
  alignas(32) float azimuth[8];            ///< set by the pass; radians
  alignas(32) float elevation[8];          ///< set by the pass; the row's, the same in all lanes
  alignas(32) float sinElevation[8];       ///< set by the pass
  alignas(32) float cosElevation[8];       ///< set by the pass
  alignas(32) float u[8];                  ///< circle: distance to the centre / radius; rectangle: -1 to 1
  alignas(32) float v[8];                  ///< circle: angle about the centre, 0 to 1; rectangle: -1 to 1
  alignas(32) float changes[4][8];         ///< du/azimuth, du/elevation, dv/azimuth, dv/elevation, a pixel
  alignas(32) std::uint32_t mask[8];       ///< all ones inside the shape
  alignas(32) float cosAngle[8];           ///< cosine of the angle to the centre
  alignas(32) float dotT1[8];              ///< direction . first tangent axis
  alignas(32) float dotT2[8];              ///< direction . second tangent axis
  alignas(32) float weight[8];             ///< the shape's edge weight, then the pin's weight
  alignas(32) float colour[3][8];          ///< the map's pixels: red, green, blue
  alignas(32) float directionWorld[3][8];  ///< x, y, z on the sphere, with kNeedsDirection
};

}  // namespace orv::hdri::blockedAVX2
