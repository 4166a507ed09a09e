#include "orvrender/images/Orientation.h"

#include <algorithm>
#include <utility>

#include "orvrender/files/ImageError.h"

namespace orv::host {

void reorient(Pixels& pixels, int orientation) {
  if (orientation < 2 || orientation > 8) return;
  // From 5 on the file's rows are columns of the image.
  const bool transposed = orientation >= 5;
  const bool mirrored = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool upsideDown = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;

  Pixels upright;
  upright.width = transposed ? pixels.height : pixels.width;
  upright.height = transposed ? pixels.width : pixels.height;
  upright.rgb = allocateFloats(3 * pixels.count());
  if (pixels.alpha) upright.alpha = allocateFloats(pixels.count());
  if (!upright.rgb || (pixels.alpha && !upright.alpha)) {
    throw ImageError("there is no memory to turn it upright; save it upright or close other programs");
  }

  for (std::size_t y = 0; y < upright.height; ++y) {
    for (std::size_t x = 0; x < upright.width; ++x) {
      // Where the file has this pixel: transposed first, then mirrored along the file's own axes.
      std::size_t fileX = transposed ? y : x;
      std::size_t fileY = transposed ? x : y;
      if (mirrored) fileX = pixels.width - 1 - fileX;
      if (upsideDown) fileY = pixels.height - 1 - fileY;
      const std::size_t from = fileY * pixels.width + fileX;
      const std::size_t to = y * upright.width + x;
      std::copy_n(pixels.rgb.get() + 3 * from, 3, upright.rgb.get() + 3 * to);
      if (pixels.alpha) upright.alpha[to] = pixels.alpha[from];
    }
  }
  pixels = std::move(upright);
}

}  // namespace orv::host
