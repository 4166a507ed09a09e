#pragma once

#include "fills/PinFill.h"

namespace orv::hdri {
class ColorBrush;
}

namespace orv::hdri::blockedAVX2 {

/// One color, scaled by the brush's brightness; its other adjustments do not count.
class SolidColorFill final : public PinFill {
 public:
  explicit SolidColorFill(const ColorBrush& brush);

  Shading shade(const PixelBatch& batch, FillScratch& scratch) const override;

 private:
  Block color_;
};

}  // namespace orv::hdri::blockedAVX2
