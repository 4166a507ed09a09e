#pragma once

#include "brushes/PinFill.h"

namespace orv::hdri {
class ColorBrush;
}

namespace orv::hdri::blockedAVX2 {

/// One colour, scaled by the brush's brightness; its other adjustments do not count.
class SolidColorFill final : public PinFill {
 public:
  explicit SolidColorFill(const ColorBrush& brush);

  Shading shadeRun(const PixelRun& run, FillScratch& scratch) const override;

 private:
  Block colour_;
};

}  // namespace orv::hdri::blockedAVX2
