#pragma once

#include <memory>

#include "hdri/PinParams.h"
#include "maps/AlignedObject.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

/// Turns the coordinates that a shape wrote (u, v and cosAngle) into one weight a pixel. Outside the shape
/// the curve means nothing; the shape's mask removes it. Immutable, callable from any number of threads.
class FalloffCurve : public AlignedObject {
 public:
  virtual ~FalloffCurve() = default;

  /// Makes `batch.weight` the pin's weight: the curve's value where the mask is set, 0 elsewhere, times the
  /// shape's edge weight.
  virtual void evaluate(const PixelBatch& batch) const = 0;

 protected:
  FalloffCurve() = default;
  FalloffCurve(const FalloffCurve&) = delete;
  FalloffCurve& operator=(const FalloffCurve&) = delete;
};

/// The curve that a circle's parameters name; null for a selector that is no circle's, or without memory.
std::unique_ptr<FalloffCurve> makeCircleFalloff(const CirclePinParams& params);
/// The curve that a rectangle's parameters name; null for a selector that is no rectangle's, or without
/// memory.
std::unique_ptr<FalloffCurve> makeRectFalloff(const RectPinParams& params);

/// Whether circles, or rectangles, have a curve of this name: where one is null then, memory ran out.
constexpr bool isCircleFalloff(Falloff kind) {
  return kind == Falloff::outline || kind == Falloff::solid ||
         (kind >= Falloff::circleCosine && kind <= Falloff::circleGaussianEdge);
}
constexpr bool isRectFalloff(Falloff kind) {
  return kind == Falloff::outline || kind == Falloff::solid ||
         (kind >= Falloff::rectCosine && kind <= Falloff::rectBoxGaussian);
}

}  // namespace orv::hdri::blockedAVX2
