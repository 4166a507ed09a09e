#pragma once

#include <string>

#include "backgrounds/MapBackground.h"

namespace orv::hdri {
class ImageBrush;
}

namespace orv::hdri::blockedAVX2 {

/// A latitude-longitude image file: pixel for pixel where it has the map's size, else its nearest pixels.
class ImageBackground final : public MapBackground {
 public:
  explicit ImageBackground(const ImageBrush& brush);

  /// Loads, converts and adjusts the image. @return false, and the prepared map as it was, when the host does
  /// not find the image.
  bool prepare(const PaintContext& context) override;

 private:
  std::string path_;
};

}  // namespace orv::hdri::blockedAVX2
