#include "fills/GradientFill.h"

#include "brushes/host_parameters.h"
#include "hdri/GradientBrush.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

GradientFill::GradientFill(const GradientBrush& brush, bool rectangular)
    : PinFill(brush),
      rectangular_(rectangular),
      brush_(std::static_pointer_cast<const GradientBrush>(brush.clone())),
      table_(*brush_),
      adjustment_(brush.adjustments()) {
  const SinCos8 angle = sinCos(splat(brush.angle() * kRadiansPerDegree));
  cosAngle_ = angle.cos;
  sinAngle_ = angle.sin;
}

Shading GradientFill::shade(const PixelBatch& batch, FillScratch& scratch) const {
  // t = x cos(angle) + y sin(angle), from [-1, 1] to [0, 1] in a rectangle.
  const Float8 cosAngle = cosAngle_, sinAngle = sinAngle_;
  float* const t = scratch.u;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 along = fma(load(batch.u + i), cosAngle, load(batch.v + i) * sinAngle);
    store(t + i, rectangular_ ? (along + splat(1.0f)) * splat(0.5f) : along);
  }
  const float* weight = scratch.weight;
  if (!table_.usable()) {
    shadeLanes(batch, t, scratch.color, scratch.weight);
  } else {
    table_.colors(t, {scratch.color, batch.blocks});
    if (table_.opaque())
      weight = batch.weight;
    else
      table_.weights(t, batch.weight, batch.blocks, scratch.weight);
  }
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, weight};
}

void GradientFill::shadeLanes(const PixelBatch& batch, const float* t, Block* color, float* weight) const {
  for (std::size_t i = 0; i < 8 * batch.blocks; ++i) {
    const Rgb rgb = brush_->evalColor(t[i]);
    color[i / 8].r[i % 8] = rgb.r;
    color[i / 8].g[i % 8] = rgb.g;
    color[i / 8].b[i % 8] = rgb.b;
    weight[i] = batch.weight[i] * brush_->evalCurve(t[i]);
  }
}

}  // namespace orv::hdri::blockedAVX2
