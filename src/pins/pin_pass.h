#pragma once

namespace orv::hdri {
struct EnvImage;
}

namespace orv::hdri::blockedAVX2 {

class BlockedPainter;

/// Writes the map: for every row, in parallel, the background and the pins over it. The background must be
/// prepared.
/// @param result where rows go; null when the map has no pixels, the rows are then only run.
/// @throws std::bad_alloc.
void paintPins(BlockedPainter& painter, EnvImage* result);

}  // namespace orv::hdri::blockedAVX2
