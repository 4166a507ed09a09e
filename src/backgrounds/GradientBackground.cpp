#include "backgrounds/GradientBackground.h"

#include <algorithm>

#include "hdri/GradientBrush.h"

namespace orv::hdri::blockedAVX2 {
namespace {

std::shared_ptr<const GradientBrush> shareOrClone(const GradientBrush& brush) {
  std::shared_ptr<const Brush> shared = brush.weak_from_this().lock();
  if (!shared) shared = brush.clone();
  return std::static_pointer_cast<const GradientBrush>(shared);
}

}  // namespace

GradientBackground::GradientBackground(const GradientBrush& brush)
    : brush_(shareOrClone(brush)), adjustment_(brush.adjustments()) {}

bool GradientBackground::prepare(const PaintContext&) { return true; }

Block& GradientBackground::sampleBlock(Block& out, Float8, Float8 v) const {
  alignas(32) float t[kLanes];
  store(t, v);
  for (int lane = 0; lane < kLanes; ++lane) {
    const Rgb color = brush_->evalColor(t[lane]);
    out.r[lane] = color.r;
    out.g[lane] = color.g;
    out.b[lane] = color.b;
  }
  adjustment_.apply(&out, 1);
  return out;
}

void GradientBackground::fillRow(std::uint32_t, float latitude, std::span<Block> out) const {
  if (out.empty()) return;
  const Rgb color = brush_->evalColor(latitude * 0.31830987f + 0.5f);
  Block& first = out.front();
  store(first.r, splat(color.r));
  store(first.g, splat(color.g));
  store(first.b, splat(color.b));
  adjustment_.apply(&first, 1);
  std::fill(out.begin() + 1, out.end(), first);
}

}  // namespace orv::hdri::blockedAVX2
