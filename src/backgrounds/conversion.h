#pragma once

#include "backgrounds/ColorAdjustment.h"
#include "maps/BlockedMap.h"

class orvImage;

namespace orv::hdri::blockedAVX2 {

// Both conversions fill a whole map in parallel over its rows: channels below 0 (and NaN) become 0,
// infinities the largest finite float, then the adjustment is applied. Padding lanes hold the row again from
// its start. Both return the largest channel value of the map, at least 0.

/// From interleaved RGB pixels of exactly the map's size, rows packed.
float convertPixels(const float* rgb, const ColorAdjustment& adjustment, BlockedMap& map);

/// From an image of another size: map pixel (x, y) takes the source pixel (trunc(x sx), trunc(y sy)), where
/// sx and sy are the ratios of the sizes in 32-bit floats.
float convertScaled(const orvImage& image, const ColorAdjustment& adjustment, BlockedMap& map);

}  // namespace orv::hdri::blockedAVX2
