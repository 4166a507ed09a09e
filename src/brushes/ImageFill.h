#pragma once

#include <string>

#include "backgrounds/ColorAdjustment.h"
#include "brushes/PinFill.h"
#include "painter/HostImage.h"

class orvImage;
struct orvImage_lookup;

namespace orv::hdri {
class ImageBrush;
}

namespace orv::hdri::blockedAVX2 {

/// An image across the pin: its left edge at -1 of the first coordinate, its top at 1 of the second. Held
/// only while a paint runs.
class ImageFill final : public PinFill {
 public:
  explicit ImageFill(const ImageBrush& brush);

  /// Loads the image and chooses its look-up: filtered over the pixel's footprint when the painter smooths,
  /// else plain.
  bool prepare(BlockedPainter& painter) override;
  void release(BlockedPainter& painter) override;
  std::uint32_t requirements() const override { return kNeedsCoordinates; }
  /// Looks up the lanes that have a weight; the others are black and stay without one.
  Shading shadeRun(const PixelRun& run, FillScratch& scratch) const override;

 private:
  void lookUpBlock(const PixelRun& run, std::size_t block, FillScratch& scratch) const;

  orvImage* image_ = nullptr;  ///< the host's, from prepare to release
  void (orvImage::*lookup_)(orvImage_lookup&) const = nullptr;
  ColorAdjustment adjustment_;
  std::string path_;
};

}  // namespace orv::hdri::blockedAVX2
