#pragma once

#include <utility>
#include <vector>

#include "hdri/PinParams.h"
#include "support/reference/scene.h"
#include "support/reference/sphere.h"

/// The two shapes of a pin in double precision.
namespace reference {

/// Half-open ranges of eight-pixel blocks.
using BlockRanges = std::vector<std::pair<int, int>>;

/// The blocks of row `y` in which a pin is laid over the map. Rows, spans and columns are decided in 32-bit
/// floats, as the painter promises.
BlockRanges blocksOfRow(const Pin& pin, int y, int width, int height);

/// What a fill learns of one pixel.
struct Coverage {
  double u = 0;       ///< first coordinate
  double v = 0;       ///< second coordinate
  double weight = 0;  ///< falloff x edge; 0 outside the shape
};

/// Evaluates a pin's shape and falloff at a direction.
/// @param pixelAngle the width of a soft edge, radians, in the painter's 32-bit floats.
Coverage coverage(const Pin& pin, double azimuth, double elevation, double pixelAngle, bool smoothing);

/// One and a half pixels in the coarser direction of a map, radians.
float pixelAngle(int width, int height);

}  // namespace reference
