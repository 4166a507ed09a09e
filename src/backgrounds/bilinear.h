#pragma once

#include "painter/BlockedMap.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// Bilinear look-up of eight positions in a map that is not empty: u = 0 hits the centre of the first column
/// and u = 1 the centre of the last, v likewise from the top row down. Both are clamped to [0, 1]; a NaN
/// counts as 0.
void sampleBilinear(const BlockedMap& map, Float8 u, Float8 v, Block& out);

}  // namespace orv::hdri::blockedAVX2
