#pragma once

#include "support/reference/color.h"
#include "support/reference/scene.h"

/// Backgrounds in double precision: colours, gradients, and images without blur and rotation.
namespace reference {

/// The background's colour at the pixel (x, y). An image that is not the map's size is taken by the nearest
/// pixel towards its top left; a missing one is white.
Color backgroundPixel(const Scene& scene, int x, int y);

/// The background's colour at a map position, u in [0, 1] rightward and v in [0, 1] downward. Images:
/// bilinear in the map, 0 and 1 at the centres of its outermost pixels.
Color backgroundSample(const Scene& scene, double u, double v);

}  // namespace reference
