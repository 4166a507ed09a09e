#pragma once

#include "support/reference/color.h"
#include "support/reference/pins.h"
#include "support/reference/scene.h"

/// The fills of pins and their blending in double precision.
namespace reference {

/// What a fill gives for one pixel.
struct Shade {
  Color color;
  double weight;
};

/// @param azimuth, elevation the pixel's direction, radians.
Shade shade(const Scene& scene, const Pin& pin, const Coverage& coverage, double azimuth, double elevation);

/// Merges a fill into a pixel by the blend mode of the pin's brush. A pixel of weight 0 keeps its colour but
/// for the limit at 0.
Color composited(const Scene& scene, const Pin& pin, const Color& below, const Shade& fill);

}  // namespace reference
