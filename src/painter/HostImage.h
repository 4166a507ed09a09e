#pragma once

#include <memory>

class orvImage;

namespace orv::hdri::blockedAVX2 {

class BlockedPainter;

/// Hands an image back to the host.
struct ImageRelease {
  const BlockedPainter* painter;
  void operator()(orvImage* image) const;
};

/// An image of the host, held until it goes; at the latest with the painter.
using HostImage = std::unique_ptr<orvImage, ImageRelease>;

}  // namespace orv::hdri::blockedAVX2
