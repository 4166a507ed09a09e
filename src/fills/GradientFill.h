#pragma once

#include <memory>

#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/GradientTable.h"
#include "fills/PinFill.h"

namespace orv::hdri {
class GradientBrush;
}

namespace orv::hdri::blockedAVX2 {

/// A gradient across the pin, along the direction of the brush's angle, with the brush's opacity along it. In
/// a rectangle position 0 is one edge and 1 the other; in a circle it runs from the centre to the rim at
/// angle 0.
class GradientFill final : public PinFill {
 public:
  /// Keeps a clone of the brush. @throws std::bad_alloc.
  GradientFill(const GradientBrush& brush, bool rectangular);

  std::uint32_t requirements() const override { return kNeedsCoordinates; }
  Shading shade(const PixelBatch& batch, FillScratch& scratch) const override;

 private:
  /// The brush itself, pixel by pixel.
  void shadeLanes(const PixelBatch& batch, const float* t, Block* color, float* weight) const;

  bool rectangular_;
  Float8 cosAngle_;
  Float8 sinAngle_;
  std::shared_ptr<const GradientBrush> brush_;
  GradientTable table_;
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
