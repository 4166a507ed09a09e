#pragma once

#include "backgrounds/BackgroundSource.h"

namespace orv::hdri {
class ColorBrush;
}

namespace orv::hdri::blockedAVX2 {

/// One colour everywhere: the brush's colour times its brightness. The other adjustments do not apply to it.
class ColorBackground final : public BackgroundSource {
 public:
  explicit ColorBackground(const ColorBrush& brush);

  bool prepare(const PaintContext& context) override;
  void sampleBlock(std::span<Block> out, const float* u, const float* v) const override;
  bool canSample() const override { return true; }
  void fillRow(std::uint32_t row, float latitude, std::span<Block> out) const override;

 private:
  float color_[3];
};

}  // namespace orv::hdri::blockedAVX2
