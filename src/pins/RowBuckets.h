#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {

struct PlannedPin;

/// The pins that each row of a map may touch, so that a row need not look at all of them. Rows share buckets
/// of a few rows; a bucket holds its pins in the order of the list.
class RowBuckets {
 public:
  /// The most pins that all buckets hold together (16 MB); buckets grow higher until theirs are fewer.
  static constexpr std::size_t kMostEntries = std::size_t{1} << 22;
  /// Fewer pins than this are looked at faster than a bucket is found.
  static constexpr std::size_t kFewestPins = 32;

  /// None: `pinsNear` is never asked.
  RowBuckets() = default;
  /// Sorts the pins by their rows on a map of `height` rows. Empty for few pins, and without memory.
  RowBuckets(std::span<const PlannedPin> pins, std::int32_t height);

  bool empty() const { return entries_.size() == 0; }

  /// Indices, ascending, of the pins that can touch row `y` and perhaps of some that touch its neighbours
  /// alone. Only when not empty.
  std::span<const std::uint32_t> pinsNear(std::int32_t y) const {
    const auto bucket = static_cast<std::size_t>(y >> shift_);
    return {entries_.data() + starts_[bucket], entries_.data() + starts_[bucket + 1]};
  }

 private:
  std::uint32_t shift_ = 0;  ///< bucket of a row: y >> shift
  AlignedArray<std::uint32_t> starts_;
  AlignedArray<std::uint32_t> entries_;
};

}  // namespace orv::hdri::blockedAVX2
