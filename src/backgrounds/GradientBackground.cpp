#include "backgrounds/GradientBackground.h"

#include <algorithm>

#include "backgrounds/shared_brush.h"
#include "hdri/GradientBrush.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

GradientBackground::GradientBackground(const GradientBrush& brush)
    : brush_(sharedOrCloned(brush)), table_(*brush_), adjustment_(brush.adjustments()) {}

bool GradientBackground::prepare(const PaintContext&) {
  table_ = GradientTable(*brush_);
  return true;
}

void GradientBackground::sampleBlock(std::span<Block> out, const float*, const float* v) const {
  if (table_.usable()) {
    table_.colors(v, out);
  } else {
    for (std::size_t i = 0; i < 8 * out.size(); ++i) {
      const Rgb color = brush_->evalColor(v[i]);
      out[i / 8].r[i % 8] = color.r;
      out[i / 8].g[i % 8] = color.g;
      out[i / 8].b[i % 8] = color.b;
    }
  }
  adjustment_.apply(out.data(), out.size());
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
