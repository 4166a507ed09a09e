#pragma once

#include <array>

#include "backgrounds/ColorAdjustment.h"
#include "fills/PinFill.h"
#include "simd/Float8.h"

namespace orv::hdri {
class BackgroundBrush;
}

namespace orv::hdri::blockedAVX2 {

/// The map's own background, rotated: what lies at the brush's turn and tilt comes to the map's centre.
class BackgroundRotationFill final : public PinFill {
 public:
  explicit BackgroundRotationFill(const BackgroundBrush& brush);

  /// Keeps the background, which the next rows show.
  bool prepare(const PaintContext& context, const BackgroundSource& background) override;
  void release() override { background_ = nullptr; }
  std::uint32_t requirements() const override { return kNeedsDirection; }
  Shading shade(const PixelBatch& batch, FillScratch& scratch) const override;

 private:
  std::array<std::array<Float8, 3>, 3>
      matrix_;  ///< of the sphere's rotation; directions go through its transpose
  const BackgroundSource* background_ = nullptr;  ///< from prepare to release; null paints nothing
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
