#include "brushes/SolidColorFill.h"

#include "hdri/ColorBrush.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

SolidColorFill::SolidColorFill(const ColorBrush& brush) : PinFill(brush) {
  const float k = brush.brightness();
  store(colour_.r, splat(brush.color().r * k));
  store(colour_.g, splat(brush.color().g * k));
  store(colour_.b, splat(brush.color().b * k));
}

Shading SolidColorFill::shadeRun(const PixelRun& run, FillScratch&) const {
  return {&colour_, 0, run.weight};
}

}  // namespace orv::hdri::blockedAVX2
