#pragma once

#include <cstdint>
#include <vector>

#include "maps/AlignedArray.h"
#include "pins/Pin.h"
#include "pins/RowBuckets.h"
#include "shapes/AzimuthSpans.h"

namespace orv::hdri::blockedAVX2 {

class FalloffCurve;

/// Rows `first` to `last` of a map; none where `first` is greater.
struct RowRange {
  std::int32_t first;
  std::int32_t last;
};

/// The rows that a shape can touch on a map of `height` rows.
RowRange rowsOf(const PinShape& shape, std::int32_t height);

/// Blocks `first` to `end` - 1 of a row.
struct BlockRange {
  std::uint32_t first;
  std::uint32_t end;
};

/// One pin as the rows see it.
struct PlannedPin {
  const PinShape* shape;
  const FalloffCurve* curve;
  const PinFill* fill;
  std::uint32_t needs;
  RowRange rows;
  /// cos(azimuth - centre azimuth) of the blocks that the pin can touch, counted on from `tableFirst` and
  /// past the row's end from its start again; null for pins that compute it or need it not.
  const float* cosFromCentre;
  std::uint32_t tableFirst;
  std::uint32_t tableBlocks;
};

/// What all rows of one paint share, worked out once: the columns' longitudes with their sines and cosines,
/// and the pins with their row ranges. Read by many threads.
class PassPlan {
 public:
  /// @param needs what the pass itself asks of every shape. The pins stay as they are until the plan goes.
  /// @throws std::bad_alloc.
  PassPlan(std::int32_t width, std::int32_t height, const PinList& pins, std::uint32_t needs);

  std::uint32_t width() const { return width_; }
  std::uint32_t blocks() const { return blocks_; }
  const std::vector<PlannedPin>& pins() const { return pins_; }

  /// Calls `visit(pin)` for each pin whose rows hold row y, in list order.
  template <typename Visit>
  void forEachPinOfRow(std::int32_t y, const Visit& visit) const {
    const auto visitIfInRow = [&](const PlannedPin& pin) {
      if (pin.rows.first <= y && y <= pin.rows.last) visit(pin);
    };
    if (buckets_.empty()) {
      for (const PlannedPin& pin : pins_) visitIfInRow(pin);
    } else {
      for (const std::uint32_t i : buckets_.pinsNear(y)) visitIfInRow(pins_[i]);
    }
  }

  // Of the row's padded columns, 32-byte aligned.
  const float* azimuth() const { return columns_.data(); }
  const float* sinAzimuth() const { return columns_.data() + 8 * std::size_t{blocks_}; }
  const float* cosAzimuth() const { return columns_.data() + 16 * std::size_t{blocks_}; }

  /// `pin.cosFromCentre` from block `first` on; null where the table does not hold all `count` blocks.
  const float* cosFromCentre(const PlannedPin& pin, std::uint32_t first, std::uint32_t count) const;

  /// The blocks that a span touches, within the row; none for a span that is not a number.
  BlockRange blocksOf(const AzimuthSpan& span) const;

 private:
  void fillColumns();
  void planTables();
  void fillTable(const PlannedPin& pin, float centre, float* table) const;

  std::uint32_t width_;
  std::uint32_t blocks_;
  std::vector<PlannedPin> pins_;
  AlignedFloats columns_;
  AlignedFloats tables_;
  RowBuckets buckets_;
};

}  // namespace orv::hdri::blockedAVX2
