#include "fills/BackgroundRotationFill.h"

#include <algorithm>

#include "backgrounds/BackgroundSource.h"
#include "brushes/host_parameters.h"
#include "hdri/BackgroundBrush.h"
#include "shapes/sphere_geometry.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

BackgroundRotationFill::BackgroundRotationFill(const BackgroundBrush& brush)
    : PinFill(brush), adjustment_(brush.adjustments()) {
  const double turn = static_cast<double>(brush.turn() * kRadiansPerDegree);
  const double tilt = static_cast<double>(brush.tilt() * kRadiansPerDegree);
  const Quaternion turned = quaternionFromAxis({0, 0, 1}, -turn);
  const Quaternion tilted = quaternionFromAxis({0, 1, 0}, tilt);
  const Matrix3 rotation = rotationMatrix(tilted * turned);
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      matrix_[row][column] = splat(static_cast<float>(rotation[row][column]));
}

bool BackgroundRotationFill::prepare(const PaintContext&, const BackgroundSource& background) {
  background_ = &background;
  return true;
}

Shading BackgroundRotationFill::shade(const PixelBatch& batch, FillScratch& scratch) const {
  if (!background_ || !background_->canSample()) {
    std::fill_n(scratch.weight, 8 * batch.blocks, 0.0f);
    std::fill_n(scratch.color, batch.blocks, Block{});
    return {scratch.color, 1, scratch.weight};
  }
  // The sphere is rotated by the matrix, so a pixel's direction goes back through its transpose.
  const auto m = matrix_;
  const auto rotated = [&](std::size_t c, std::size_t i) {
    const Float8 x = load(batch.directionWorld[0] + i);
    const Float8 y = load(batch.directionWorld[1] + i);
    const Float8 z = load(batch.directionWorld[2] + i);
    return fma(m[2][c], z, fma(m[1][c], y, m[0][c] * x));
  };
  // v = (pi/2 - latitude) / pi, u = (longitude + pi) / (2 pi).
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 sine = max(min(rotated(2, i), splat(1.0f)), splat(-1.0f));
    store(scratch.v + i, arccos(sine) * splat(kInvPi));
  }
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 longitude = atan2(rotated(1, i), rotated(0, i));
    store(scratch.u + i, (longitude + splat(kPi)) * splat(kInvTwoPi));
  }
  background_->sampleBlock({scratch.color, batch.blocks}, scratch.u, scratch.v);
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, batch.weight};
}

}  // namespace orv::hdri::blockedAVX2
