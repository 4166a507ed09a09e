#pragma once

#include "backgrounds/InterleavedMap.h"
#include "backgrounds/TiltSettings.h"
#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

/// Rotates the sphere that a map shows, in place. The padding lanes must hold the row again from its start,
/// and do afterwards. A rotation about the vertical axis alone moves whole columns, bit for bit.
///
/// Any other takes, for each pixel, the direction of its left edge and its row's centre through the inverse
/// of the rotation and looks the map up there bilinearly. The directions are right to 5e-6 rad,
/// within 0.02 rad of the poles to 4e-4 (docs/numerics.md).
/// @param copy the map's own copy where there is one already; one is made where it is empty and needed.
/// The bytes do not depend on the number of threads. @throws std::bad_alloc; the map is then unchanged.
void tilt(BlockedMap& map, const InterleavedMap& copy, const TiltSettings& settings);

}  // namespace orv::hdri::blockedAVX2
