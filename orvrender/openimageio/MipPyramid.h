#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvrender/files/Pixels.h"

namespace orv::host {

/// An image and its smaller copies, each half as wide and high as the one before (rounded down, at least 1),
/// of which every pixel is the mean of the area that it covers, down to a single pixel. Read-only once made.
class MipPyramid {
 public:
  /// Makes the smaller copies; `base` is level 0 and must outlive the pyramid. Throws std::bad_alloc.
  explicit MipPyramid(const Pixels& base);

  std::uint32_t levels() const { return static_cast<std::uint32_t>(smaller_.size()) + 1; }
  const Pixels& level(std::uint32_t i) const { return i == 0 ? base_ : smaller_[i - 1]; }
  /// Bytes of the smaller copies.
  std::size_t bytes() const;

 private:
  const Pixels& base_;
  std::vector<Pixels> smaller_;
};

}  // namespace orv::host
