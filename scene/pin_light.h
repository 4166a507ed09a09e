#pragma once

#include <cstdint>

#include "hdri/PinParams.h"

namespace orv::scene {

// A softened edge fades on its inner side and takes light with it: a circle of one pixel keeps a seventh of
// it. These give the parameters of a larger pin whose softened profile, integrated over the sphere with its
// falloff, holds what the pin holds with a hard edge. In the flat limit a solid circle of radius r with an
// edge of width w becomes r' = w/2 + sqrt(r^2 - w^2/20) while r' >= w. Pins of a few pixels are summed over
// the pixels that they meet, so that they hold their light wherever they lie between them.

/// @param width,height of the map in pixels, above 0. @param coordinates whether the fill needs the pin's
///        coordinates: a gradient, an image, the background. @return `pin` with another radius, at most pi. A
///        pin that is not finite or has no extent stays as it is. Any number of threads.
hdri::CirclePinParams keepLight(const hdri::CirclePinParams& pin, std::int32_t width, std::int32_t height,
                                bool coordinates);

/// The same for a rectangle: both half-angles and rounded corners grow by the same angle, to at most a
/// quarter turn.
hdri::RectPinParams keepLight(const hdri::RectPinParams& pin, std::int32_t width, std::int32_t height);

/// The solid angle inside a pin's outline, steradians; 0 for one that is not finite or has no extent. Any
/// number of threads.
double solidAngle(const hdri::CirclePinParams& pin);
double solidAngle(const hdri::RectPinParams& pin);

}  // namespace orv::scene
