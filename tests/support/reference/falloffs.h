#pragma once

#include "hdri/PinParams.h"

/// The falloff curves in double precision, written as plain functions of a pin's coordinates.
namespace reference {

/// Weight of a circle's curve. @param u distance to the centre over the radius. @param cosAngle cosine of it.
double falloff(const orv::hdri::CirclePinParams& pin, double u, double cosAngle);

/// Weight of a rectangle's curve. @param u, v signed coordinates, 1 at the edges.
double falloff(const orv::hdri::RectPinParams& pin, double u, double v, double cosAngle);

/// t^2 (3 - 2 t) of t limited to [0, 1].
double smoothStep(double t);

}  // namespace reference
