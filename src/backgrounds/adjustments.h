#pragma once

namespace orv::hdri::blockedAVX2 {

class BlockedPainter;
class MapBackground;

/// Runs the geometric adjustments over a map background whose prepared map was just filled: blur, then the
/// sampling copy where the painter asks for one, then the rotation of the sphere. Progress goes to the
/// painter.
/// @param maximum the largest channel value of the prepared map. @throws std::length_error, std::bad_alloc.
void applyAdjustments(MapBackground& background, BlockedPainter& painter, float maximum);

}  // namespace orv::hdri::blockedAVX2
