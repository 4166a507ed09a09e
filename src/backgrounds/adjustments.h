#pragma once

namespace orv::hdri::blockedAVX2 {

struct PaintContext;
class MapBackground;

/// Runs the geometric adjustments over a map background whose prepared map was just filled: blur, then the
/// sampling copy where the painter asks for one, then the rotation of the sphere. Progress goes to the
/// context.
/// @param maximum the largest channel value of the prepared map. @throws std::length_error, std::bad_alloc.
void applyAdjustments(MapBackground& background, const PaintContext& context, float maximum);

}  // namespace orv::hdri::blockedAVX2
