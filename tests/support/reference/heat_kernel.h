#pragma once

#include "support/reference/adjustments.h"

/// Blur on the sphere in double precision, one pair of pixels at a time from the formulas.
namespace reference {

/// The heat kernel between two directions whose distance has this cosine, as the Legendre series
///   sum over l of (2 l + 1) / 4 pi exp(-l (l + 1) sigma^2 / 2) P(l, cosDistance),  1 / steradian.
double heatKernel(double sigma, double cosDistance);

/// Solid angle of a pixel of row y, steradians.
double pixelArea(int width, int height, int y);

/// The cosine of the distance between the centres of two pixels.
double cosDistance(int width, int height, int x0, int y0, int x1, int y1);

/// The sum of a channel over all pixels times their solid angles.
double light(const Map& map, std::size_t channel);

/// Every pixel the sum of all pixels times solid angle and kernel; rows scaled before and after by what keeps
/// a constant map constant.
Map blurredOnSphere(const Map& map, double sigma);

}  // namespace reference
