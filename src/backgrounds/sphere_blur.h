#pragma once

#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

struct PaintContext;

/// Blurs a map in place with a Gaussian on the sphere, the heat kernel
///   K = sum over l, m of exp(-l (l + 1) sigma^2 / 2) Y(l, m) Y*(l, m),
/// each pixel a point that counts with its solid angle. A constant map stays constant and the light (pixels
/// weighted by their solid angle) is kept, both to 1e-6. Computed in double precision; below 0.97 degrees the
/// kernel is that of von Mises and Fisher, which is the same to 2.5e-5 of the peak. Results are at least 0;
/// pixels that are not finite count as the largest finite float. Padding lanes hold the row again from its
/// start afterwards. Progress advances by 1 in all. The bytes do not depend on the number of threads.
/// @param sigma radians, at least a tenth of a column's angle; what passes 10 counts as 10, the mean of the
///        sphere.
/// @throws std::bad_alloc; the map is then unchanged or half blurred.
void blurOnSphere(BlockedMap& map, double sigma, const PaintContext& context);

}  // namespace orv::hdri::blockedAVX2
