#pragma once

#include "hdri/Brush.h"
#include "hdri/Pixel.h"

namespace orv::hdri {

/// One colour everywhere. Of the adjustments only the brightness counts.
class ColorBrush final : public Brush {
 public:
  ColorBrush(float r, float g, float b) : ColorBrush(Rgb{r, g, b}) {}
  explicit ColorBrush(const Rgb& color) : color_(color) {}

  const Rgb& color() const { return color_; }
  void setColor(const Rgb& color) { color_ = color; }

  BrushKind kind() const override { return BrushKind::color; }
  bool equals(const Brush& other) const override;
  std::shared_ptr<Brush> clone() const override;
  orvNode* hostNode(orvScene* scene) override;

 private:
  orvNode* hostNode_ = nullptr;
  Rgb color_;
};

}  // namespace orv::hdri
