#pragma once

#include <vector>

#include "hdri/Brush.h"
#include "hdri/Pixel.h"

namespace orv::hdri {

/// A colour on the way along a gradient. Slopes of 1 on both sides of a segment blend linearly, slopes of 0
/// ease.
struct GradientStop {
  float position = 0;
  float slopeIn = 1;
  float slopeOut = 1;
  float r = 1;
  float g = 1;
  float b = 1;
  float intensity = 1;  ///< multiplies the colour

  friend constexpr bool operator==(const GradientStop& one, const GradientStop& other) {
    return one.position == other.position && one.slopeIn == other.slopeIn && one.slopeOut == other.slopeOut &&
           one.r == other.r && one.g == other.g && one.b == other.b && one.intensity == other.intensity;
  }
  friend constexpr bool operator!=(const GradientStop& one, const GradientStop& other) {
    return !(one == other);
  }
};

/// An opacity on the way along a gradient.
struct CurveStop {
  float position = 0;
  float slopeIn = 1;
  float slopeOut = 1;
  float value = 1;

  friend constexpr bool operator==(const CurveStop& a, const CurveStop& b) {
    return a.position == b.position && a.slopeIn == b.slopeIn && a.slopeOut == b.slopeOut &&
           a.value == b.value;
  }
  friend constexpr bool operator!=(const CurveStop& a, const CurveStop& b) { return !(a == b); }
};

/// A gradient of colours with cubic Hermite segments, and an opacity along it. As a background, 0 is the
/// bottom of the map and 1 its top. Stops are kept in the order given, ascending positions assumed.
class GradientBrush final : public Brush {
 public:
  GradientBrush() = default;

  const std::vector<GradientStop>& stops() const { return stops_; }
  void setStops(std::vector<GradientStop> stops);
  const std::vector<CurveStop>& curve() const { return curve_; }
  void setCurve(std::vector<CurveStop> curve);
  /// Direction of the gradient in a pin's plane, degrees.
  float angle() const { return angle_; }
  void setAngle(float degrees) { angle_ = degrees; }

  /// Colour at `t`; white without stops, the first stop's for a NaN. Any number of threads.
  Rgb evalColor(float t) const;
  /// Opacity at `t`; 1 without curve stops, the first stop's for a NaN. Any number of threads.
  float evalCurve(float t) const;

  BrushKind kind() const override { return BrushKind::gradient; }
  bool equals(const Brush& other) const override;
  std::shared_ptr<Brush> clone() const override;
  orvNode* hostNode(orvScene* scene) override;

 private:
  orvNode* hostNode_ = nullptr;
  std::vector<GradientStop> stops_;
  std::vector<CurveStop> curve_;
  float angle_ = 0;
  std::uint8_t stopsAscend_ = 1;  ///< whether no stop lies before the one in front of it, so that they can be
  std::uint8_t curveAscends_ = 1;  ///< searched by halves
};

}  // namespace orv::hdri
