#pragma once

#include <cstdint>

#include "orvrender/files/Pixels.h"

namespace orv::host {

/// A latitude-longitude image at another size, with the light that it had. Each axis goes up or down on its
/// own.
///
/// Down, a pixel is the mean of the area that it covers, weighted by solid angle: the sum of pixel times
/// solid angle over the sphere stays. Up, a pixel is the mean, likewise weighted, of a smooth curve through
/// the pixels' centres: a cubic whose slopes are limited so that it stays between neighbours (C. de Boor, B.
/// Swartz, "Piecewise monotone interpolation", J. Approx. Theory 21, 1977). Along a row the curve's integral
/// is the sum of the pixels; along a column it is to second order in the height of a row. Columns wrap; the
/// row beyond a pole is the row before it, half a turn on.
///
/// @param source colour alone is used, and of it what is above 0: anything else is no light.
/// @param width, height above 0.
/// @return without alpha; `rgb` is null when there is no memory for it. Throws std::bad_alloc when there is
///         none to work with. Rows run in parallel; the result does not depend on the threads.
Pixels resample(const Pixels& source, std::uint32_t width, std::uint32_t height);

}  // namespace orv::host
