#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/orvImage.h"
#include "orvrender/files/Pixels.h"
#include "orvrender/images/bilinear.h"

namespace orv::host {

/// An image and its smaller copies, each half as wide and high as the one before (rounded down, at least 1),
/// of which every pixel is the mean of the area that it covers, down to a single pixel. Read-only once made,
/// for any number of threads.
class MipPyramid {
 public:
  /// Makes the smaller copies, in parallel; `base` is level 0 and must outlive the pyramid. Throws
  /// std::bad_alloc.
  explicit MipPyramid(const Pixels& base);

  std::uint32_t levels() const { return static_cast<std::uint32_t>(levels_.size()); }
  const PixelView& level(std::size_t i) const { return levels_[i]; }
  /// Bytes of the smaller copies: a third of the image's, or up to its own where it is one pixel wide or
  /// high.
  std::size_t bytes() const { return bytes_; }

  /// The image over the footprint of `lookup`: probes side by side along the footprint's longer axis, each as
  /// wide as the shorter axis and trilinear between the two levels whose pixels are about as large. Red,
  /// green, blue (associated) and alpha, 1 without one.
  /// @param at right and down, 0 to 1.
  Quad sample(Quad at, const orvImage_lookup& lookup) const;

 private:
  std::vector<PixelView> levels_;
  Floats smaller_;  // of all but the first
  std::size_t bytes_ = 0;
};

}  // namespace orv::host
