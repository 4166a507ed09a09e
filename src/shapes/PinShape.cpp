#include "shapes/PinShape.h"

#include "shapes/SolidFalloff.h"

namespace orv::hdri::blockedAVX2 {

bool PinShape::usesCosFromCentre(std::uint32_t, float&) const { return false; }

const FalloffCurve& PinShape::curve() const {
  static const SolidFalloff solid;
  if (curve_) return *curve_;
  return solid;
}

}  // namespace orv::hdri::blockedAVX2
