#pragma once

#include "backgrounds/ColorAdjustment.h"
#include "brushes/PinFill.h"
#include "simd/Float8.h"

namespace orv::hdri {
class BackgroundBrush;
}

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;

/// The map's own background, rotated: what lies at the brush's turn and tilt comes to the map's centre.
class BackgroundRotationFill final : public PinFill {
 public:
  explicit BackgroundRotationFill(const BackgroundBrush& brush);

  /// The background that the next rows show; not owned, null paints nothing. Set-up thread only.
  void setBackground(const BackgroundSource* background) { background_ = background; }

  std::uint32_t requirements() const override { return kNeedsDirection; }
  Shading shadeRun(const PixelRun& run, FillScratch& scratch) const override;

 private:
  Float8 matrix_[3][3];  ///< of the sphere's rotation; directions go through its transpose
  const BackgroundSource* background_ = nullptr;
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
