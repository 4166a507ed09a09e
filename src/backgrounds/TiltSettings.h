#pragma once

#include <cstdint>

namespace orv::hdri::blockedAVX2 {

/// A rotation of the environment sphere: what lies `azimuth` to the right of the map's centre and `tilt`
/// above it comes to its centre.
class TiltSettings {
 public:
  /// Radians; an azimuth outside [0, 2 pi] and a tilt outside [-pi, pi] count as 0, and so does what is not a
  /// number.
  TiltSettings(float azimuth, float tilt);

  float azimuth() const { return azimuth_; }
  float tilt() const { return tilt_; }

  /// Whether the rotation is about the vertical axis alone (the tilt below 1e-5), a shift of whole columns.
  bool azimuthOnly() const;
  /// Columns that the rotation about the vertical axis moves a map of this width to the left; the fraction of
  /// a column is dropped: floor(width azimuth / 2 pi).
  std::uint32_t columns(std::uint32_t width) const;
  /// Whether a map of this width changes: any tilt does it, an azimuth that moves a whole column.
  bool needed(std::uint32_t width) const;

 private:
  float azimuth_;
  float tilt_;
};

}  // namespace orv::hdri::blockedAVX2
