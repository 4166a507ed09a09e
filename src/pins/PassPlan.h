#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "pins/Pin.h"
#include "shapes/AzimuthSpans.h"

namespace orv::hdri::blockedAVX2 {

class FalloffCurve;

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
  std::int32_t firstRow;
  std::int32_t lastRow;
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
  /// @param needs what the pass itself asks of every shape. The pins and their `firstRow` and `lastRow` stay
  /// as they are until the plan goes. @throws std::bad_alloc.
  PassPlan(std::int32_t width, const PinList& pins, std::uint32_t needs);

  std::uint32_t width() const { return width_; }
  std::uint32_t blocks() const { return blocks_; }
  const std::vector<PlannedPin>& pins() const { return pins_; }

  // Of the row's padded columns, 32-byte aligned.
  const float* azimuth() const { return columns_.get(); }
  const float* sinAzimuth() const { return columns_.get() + 8 * std::size_t{blocks_}; }
  const float* cosAzimuth() const { return columns_.get() + 16 * std::size_t{blocks_}; }

  /// `pin.cosFromCentre` from block `first` on; null where the table does not hold all `count` blocks.
  const float* cosFromCentre(const PlannedPin& pin, std::uint32_t first, std::uint32_t count) const;

  /// The blocks that a span touches, within the row; none for a span that is not a number.
  BlockRange blocksOf(const AzimuthSpan& span) const;

 private:
  struct Release {
    void operator()(float* storage) const;
  };
  using Floats = std::unique_ptr<float, Release>;

  void fillColumns();
  void planTables();
  void fillTable(const PlannedPin& pin, float centre, float* table) const;

  std::uint32_t width_;
  std::uint32_t blocks_;
  std::vector<PlannedPin> pins_;
  Floats columns_;
  Floats tables_;
};

/// Sets the rows that a pin can touch on a map of `height` rows.
void setRowRange(Pin& pin, std::int32_t height);

}  // namespace orv::hdri::blockedAVX2
