#pragma once

#include <array>

#include "hdri/Brush.h"
#include "hdri/GradientBrush.h"

/// Colours in double precision with the C library's functions.
namespace reference {

using Color = std::array<double, 3>;

/// Saturation, hue, scale, gamma, each where it would change something by more than 1e-5.
Color adjusted(Color color, const orv::hdri::Adjustments& adjustments);

/// A gradient's colour at `t`.
Color gradientColor(const orv::hdri::GradientBrush& brush, double t);
/// A gradient's opacity at `t`.
double gradientOpacity(const orv::hdri::GradientBrush& brush, double t);

}  // namespace reference
