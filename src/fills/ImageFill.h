#pragma once

#include <string>

#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/ImageHandle.h"
#include "fills/PinFill.h"

namespace orv::hdri {
class ImageBrush;
}

namespace orv::hdri::blockedAVX2 {

/// An image across the pin: its left edge at -1 of the first coordinate, its top at 1 of the second. Held
/// only while a paint runs.
class ImageFill final : public PinFill {
 public:
  explicit ImageFill(const ImageBrush& brush);

  /// Loads the image and chooses its look-up: filtered over the pixel's footprint when the paint smooths,
  /// else plain.
  bool prepare(const PaintContext& context, const BackgroundSource& background) override;
  void release() override;
  std::uint32_t requirements() const override { return kNeedsCoordinates; }
  /// Looks up the lanes that have a weight; the others are black and stay without one.
  Shading shade(const PixelBatch& batch, FillScratch& scratch) const override;

 private:
  void lookUpBlock(const PixelBatch& batch, std::size_t block, orvImage_lookup (&lookups)[kLanes],
                   FillScratch& scratch) const;

  ImageHandle image_;  ///< from prepare to release
  bool isFiltered_ = false;
  ColorAdjustment adjustment_;
  std::string path_;
};

}  // namespace orv::hdri::blockedAVX2
