#include "backgrounds/ColorBackground.h"

#include <algorithm>

#include "hdri/ColorBrush.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

ColorBackground::ColorBackground(const ColorBrush& brush)
    : color_{limited(brush.color().r * brush.brightness()), limited(brush.color().g * brush.brightness()),
             limited(brush.color().b * brush.brightness())} {}

bool ColorBackground::prepare(const PaintContext&) { return true; }

void ColorBackground::sampleBlock(std::span<Block> out, const float*, const float*) const {
  fillRow(0, 0.0f, out);
}

void ColorBackground::fillRow(std::uint32_t, float, std::span<Block> out) const {
  const Float8 r = splat(color_[0]), g = splat(color_[1]), b = splat(color_[2]);
  for (Block& block : out) {
    store(block.r, r);
    store(block.g, g);
    store(block.b, b);
  }
}

}  // namespace orv::hdri::blockedAVX2
