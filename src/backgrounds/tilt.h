#pragma once

#include "backgrounds/TiltSettings.h"
#include "painter/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

/// Rotates the sphere that a map shows, in place. The padding lanes must hold the row again from its start,
/// and do afterwards. A rotation about the vertical axis alone moves whole columns, bit for bit.
///
/// Any other takes, for each pixel, the direction of its left edge and its row's centre through the inverse
/// of the rotation and looks the map up there as `sampleBilinear` does. The angles are right to 3e-6 rad but
/// near the poles, where the error is 1e-7 rad over the distance to the pole.
/// The bytes do not depend on the number of threads. @throws std::bad_alloc; the map is then unchanged.
void tilt(BlockedMap& map, const TiltSettings& settings);

}  // namespace orv::hdri::blockedAVX2
