#include "fills/SolidColorFill.h"

#include "hdri/ColorBrush.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

SolidColorFill::SolidColorFill(const ColorBrush& brush) : PinFill(brush) {
  const float k = brush.brightness();
  store(color_.r, splat(limited(brush.color().r * k)));
  store(color_.g, splat(limited(brush.color().g * k)));
  store(color_.b, splat(limited(brush.color().b * k)));
}

Shading SolidColorFill::shade(const PixelBatch& batch, FillScratch&) const {
  return {&color_, 0, batch.weight};
}

}  // namespace orv::hdri::blockedAVX2
