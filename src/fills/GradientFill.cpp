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
  for (std::size_t i = 0; i < batch.blocks; ++i) {
    // t = x cos(angle) + y sin(angle), from [-1, 1] to [0, 1] in a rectangle.
    Float8 t = fma(load(batch.u + 8 * i), cosAngle_, load(batch.v + 8 * i) * sinAngle_);
    if (rectangular_) t = (t + splat(1.0f)) * splat(0.5f);
    Float8 opacity;
    if (table_.usable())
      opacity = table_.evaluate(t, scratch.color[i]);
    else
      shadeLanes(t, scratch.color[i], opacity);
    store(scratch.weight + 8 * i, load(batch.weight + 8 * i) * opacity);
  }
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, scratch.weight};
}

void GradientFill::shadeLanes(Float8 t, Block& color, Float8& opacity) const {
  alignas(32) float position[kLanes];
  alignas(32) float alpha[kLanes];
  store(position, t);
  for (int lane = 0; lane < kLanes; ++lane) {
    const Rgb rgb = brush_->evalColor(position[lane]);
    color.r[lane] = rgb.r;
    color.g[lane] = rgb.g;
    color.b[lane] = rgb.b;
    alpha[lane] = brush_->evalCurve(position[lane]);
  }
  opacity = load(alpha);
}

}  // namespace orv::hdri::blockedAVX2
