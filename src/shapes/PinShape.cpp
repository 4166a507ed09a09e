#include "shapes/PinShape.h"

#include "shapes/SolidFalloff.h"

namespace orv::hdri::blockedAVX2 {

std::optional<AzimuthExtent> PinShape::cosFromCentreExtent(std::uint32_t) const { return std::nullopt; }

const FalloffCurve& PinShape::curve() const {
  static const SolidFalloff solid;
  if (curve_) return *curve_;
  return solid;
}

}  // namespace orv::hdri::blockedAVX2
