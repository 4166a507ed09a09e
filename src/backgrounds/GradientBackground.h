#pragma once

#include <memory>

#include "backgrounds/BackgroundSource.h"
#include "backgrounds/ColorAdjustment.h"

namespace orv::hdri {
class GradientBrush;
}

namespace orv::hdri::blockedAVX2 {

/// A vertical gradient: position 0 at the bottom of the map, 1 at its top.
class GradientBackground final : public BackgroundSource {
 public:
  /// Shares `brush` where a shared pointer owns it, else keeps a clone.
  explicit GradientBackground(const GradientBrush& brush);

  bool prepare(const PaintContext& context) override;
  /// The gradient at t = v of each lane.
  Block& sampleBlock(Block& out, Float8 u, Float8 v) const override;
  bool canSample() const override { return true; }
  /// The gradient at t = latitude / pi + 1/2.
  void fillRow(std::uint32_t row, float latitude, std::span<Block> out) const override;

 private:
  std::shared_ptr<const GradientBrush> brush_;
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
