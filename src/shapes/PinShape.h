#pragma once

#include <memory>
#include <optional>

#include "maps/AlignedObject.h"
#include "shapes/AzimuthSpans.h"
#include "shapes/FalloffCurve.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

/// Longitudes within `half` of `centre`, radians.
struct AzimuthExtent {
  float centre;
  float half;
};

/// The region of a pin on the sphere, with the falloff inside it. Immutable once made; callable from any
/// number of threads. A shape whose parameters are not all finite touches no pixel.
class PinShape : public AlignedObject {
 public:
  virtual ~PinShape() = default;

  /// The latitudes that the shape can touch, radians, within [-pi/2, pi/2].
  virtual void latitudeRange(float& lowest, float& highest) const = 0;

  /// Replaces `spans` by the longitudes that the shape can touch in the row at `elevation`.
  virtual void azimuthSpans(float elevation, AzimuthSpans& spans) const = 0;

  /// Writes a batch's coordinates, mask and edge weight, as `batch.needs` asks. Changes that a
  /// shape does not know stay as the pass made them.
  virtual void evaluate(const PixelBatch& batch) const = 0;

  /// The longitudes for which `evaluate` would read `PixelBatch::cosFromCentre` under these needs; none
  /// where it would not.
  virtual std::optional<AzimuthExtent> cosFromCentreExtent(std::uint32_t needs) const;

  /// The falloff; a solid one where the parameters name none.
  const FalloffCurve& curve() const;
  /// Whether the falloff is one of the shape's own, not the solid one in place of none.
  bool hasCurve() const { return curve_ != nullptr; }

 protected:
  explicit PinShape(std::unique_ptr<FalloffCurve> curve) : curve_(std::move(curve)) {}
  PinShape(const PinShape&) = delete;
  PinShape& operator=(const PinShape&) = delete;

 private:
  std::unique_ptr<FalloffCurve> curve_;
};

}  // namespace orv::hdri::blockedAVX2
