#pragma once

#include <memory>

#include "backgrounds/BackgroundSource.h"
#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/GradientTable.h"

namespace orv::hdri {
class GradientBrush;
}

namespace orv::hdri::blockedAVX2 {

/// A vertical gradient: position 0 at the bottom of the map, 1 at its top.
class GradientBackground final : public BackgroundSource {
 public:
  /// Shares `brush` where a shared pointer owns it, else keeps a clone. @throws std::bad_alloc.
  explicit GradientBackground(const GradientBrush& brush);

  /// Makes the table of what the brush says now, for look-ups. @throws std::bad_alloc.
  bool prepare(const PaintContext& context) override;
  /// The gradient at t = v of each pixel.
  void sampleBlock(std::span<Block> out, const float* u, const float* v) const override;
  bool canSample() const override { return true; }
  /// The gradient at t = latitude / pi + 1/2.
  void fillRow(std::uint32_t row, float latitude, std::span<Block> out) const override;

 private:
  std::shared_ptr<const GradientBrush> brush_;
  GradientTable table_;
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
