#pragma once

#include <memory>

#include "host/orvImage.h"

namespace orv::hdri::blockedAVX2 {

/// Hands an image back to the host, as one that is likely to be asked for again.
struct ReleaseImage {
  orvScene* scene = nullptr;
  void operator()(orvImage* image) const {
    orv_image_free_mode(scene, true, false);
    orv_image_free(scene, image, false);
    orv_image_free_mode(scene, false, false);
  }
};

/// Owns the use of one of the host's images.
using ImageHandle = std::unique_ptr<orvImage, ReleaseImage>;

}  // namespace orv::hdri::blockedAVX2
