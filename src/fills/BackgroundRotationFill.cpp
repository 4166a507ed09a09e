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
  const Float8 one = splat(1.0f);
  for (std::size_t i = 0; i < batch.blocks; ++i) {
    const Float8 x = load(batch.directionWorld[0] + 8 * i);
    const Float8 y = load(batch.directionWorld[1] + 8 * i);
    const Float8 z = load(batch.directionWorld[2] + 8 * i);
    // The sphere is rotated by the matrix, so a pixel's direction goes back through its transpose.
    Float8 d[3];
    for (std::size_t c = 0; c < 3; ++c)
      d[c] = fma(matrix_[2][c], z, fma(matrix_[1][c], y, matrix_[0][c] * x));
    // u = (longitude + pi) / (2 pi), v = (pi/2 - latitude) / pi.
    const Float8 u = (atan2(d[1], d[0]) + splat(kPi)) * splat(kInvTwoPi);
    const Float8 sine = max(min(d[2], one), -one);
    const Float8 v = arccos(sine) * splat(kInvPi);
    background_->sampleBlock(scratch.color[i], u, v);
  }
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, batch.weight};
}

}  // namespace orv::hdri::blockedAVX2
