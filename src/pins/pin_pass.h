#pragma once

#include "pins/Pin.h"

namespace orv::hdri {
struct EnvImage;
}

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;
struct PaintContext;

/// Writes the map: for every row, in parallel, the background and the pins over it. A fill that can not be
/// prepared is replaced by red, now and for later paints.
/// @param background prepared already.
/// @param result where rows go.
/// @throws std::bad_alloc.
void paintPins(const PaintContext& context, const BackgroundSource& background, PinList& pins,
               EnvImage& result);

}  // namespace orv::hdri::blockedAVX2
