#pragma once

#include <memory>

namespace orv::hdri {
class Brush;
}

namespace orv::hdri::blockedAVX2 {

class PinFill;

/// Makes the fill that a brush describes.
/// @param rectangular whether the fill goes into a rectangle.
/// @return null for a brush that fills no pins, and without memory.
std::unique_ptr<PinFill> makeFill(const Brush& brush, bool rectangular);

/// What is painted in place of a fill that could not be prepared: red, added. Null without memory.
std::unique_ptr<PinFill> makeRedFill();

}  // namespace orv::hdri::blockedAVX2
