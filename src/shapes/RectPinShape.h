#pragma once

#include <array>

#include "hdri/PinParams.h"
#include "shapes/Direction8.h"
#include "shapes/PinShape.h"
#include "shapes/SphereCap.h"

namespace orv::hdri::blockedAVX2 {

/// The region between four great circles that are tilted by `halfWidth` and `halfHeight` about a centre, with
/// square or round corners, whole or cut to the positive side of its second axis. `u` and `v` are angles
/// along the two axes, -1 to 1 from edge to edge.
class RectPinShape final : public PinShape {
 public:
  /// @param pixelAngle width of a softened edge, radians.
  RectPinShape(const RectPinParams& params, float pixelAngle);

  void latitudeRange(float& lowest, float& highest) const override;
  void azimuthSpans(float elevation, AzimuthSpans& spans) const override;
  void evaluate(const PixelBatch& batch) const override;

 private:
  template <bool half, bool rounded>
  void softEdge(const PixelBatch& batch) const;
  void hardEdge(const PixelBatch& batch) const;
  void changesPerPixel(const PixelBatch& batch) const;
  void normalise(const PixelBatch& batch) const;

  float elevation_;
  float boundRadius_;
  bool half_;
  bool rounded_;
  bool finite_;
  std::array<SphereCap, 4> edgeCaps_;  ///< the half-spaces that hold the rectangle and one pixel around it
  Frame8 frame_;
  Float8 halfWidth_;
  Float8 halfHeight_;
  Float8 invHalfWidth_;
  Float8 invHalfHeight_;
  Float8 pixelAngle_;
  Float8 invPixelAngle_;
  Float8 cornerRadius_;
};

}  // namespace orv::hdri::blockedAVX2
