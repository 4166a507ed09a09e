#include "backgrounds/ColorBackground.h"

#include <algorithm>

#include "hdri/ColorBrush.h"

namespace orv::hdri::blockedAVX2 {

ColorBackground::ColorBackground(const ColorBrush& brush)
    : color_{brush.color().r * brush.brightness(), brush.color().g * brush.brightness(),
             brush.color().b * brush.brightness()} {}

bool ColorBackground::prepare(const PaintContext&) { return true; }

Block& ColorBackground::sampleBlock(Block& out, Float8, Float8) const {
  store(out.r, splat(color_[0]));
  store(out.g, splat(color_[1]));
  store(out.b, splat(color_[2]));
  return out;
}

void ColorBackground::fillRow(std::uint32_t, float, std::span<Block> out) const {
  for (Block& block : out) sampleBlock(block, zero8(), zero8());
}

}  // namespace orv::hdri::blockedAVX2
