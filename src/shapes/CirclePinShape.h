#pragma once

#include "hdri/PinParams.h"
#include "shapes/Direction8.h"
#include "shapes/PinShape.h"
#include "shapes/SphereCap.h"

namespace orv::hdri::blockedAVX2 {

/// The cap of directions within a radius of a centre, whole or cut to the positive side of its second axis.
/// `u` is the distance to the centre over the radius, `v` the angle about it: 0.5 along the first axis,
/// growing towards the second.
class CirclePinShape final : public PinShape {
 public:
  /// @param pixelAngle width of a softened edge, radians.
  CirclePinShape(const CirclePinParams& params, float pixelAngle);

  void latitudeRange(float& lowest, float& highest) const override;
  void azimuthSpans(float elevation, AzimuthSpans& spans) const override;
  void evaluate(const PixelBatch& batch) const override;
  std::optional<AzimuthExtent> cosFromCentreExtent(std::uint32_t needs) const override;

 private:
  bool takesFullPath(std::uint32_t needs) const;
  void cosineFromAzimuths(const PixelBatch& batch) const;
  void cosineFromFrame(const PixelBatch& batch) const;
  void hardEdge(const PixelBatch& batch) const;
  void softEdge(const PixelBatch& batch) const;
  void cut(const PixelBatch& batch) const;
  void angleAboutCentre(const PixelBatch& batch) const;

  SphereCap cap_;
  bool half_;
  bool finite_;
  Float8 radius_;
  Float8 invRadius_;
  Float8 azimuth_;
  Float8 cosElevation_;
  Float8 sinElevation_;
  Float8 invPixelAngle_;
  Frame8 frame_;
};

}  // namespace orv::hdri::blockedAVX2
