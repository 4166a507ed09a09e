#pragma once

#include <cstdint>
#include <span>

#include "maps/AlignedObject.h"
#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

struct PaintContext;

/// Supplies the colours behind the pins: whole rows of the map, and colours at any map coordinates. `prepare`
/// runs alone on the set-up thread; afterwards `sampleBlock`, `canSample` and `fillRow` only read and are
/// called from many threads.
class BackgroundSource : public AlignedObject {
 public:
  virtual ~BackgroundSource() = default;

  /// Builds what the rows need, for the paint's size and settings.
  /// @return false when the source can not be made. @throws std::length_error, std::bad_alloc.
  virtual bool prepare(const PaintContext& context) = 0;

  /// Colours at the map positions of `out.size()` blocks: u in [0, 1] from the left edge to the right, v in
  /// [0, 1] from the top down, eight a block, 32-byte aligned. Only when `canSample`.
  virtual void sampleBlock(std::span<Block> out, const float* u, const float* v) const = 0;

  virtual bool canSample() const = 0;

  /// Fills `out` with row `row`, whose latitude is `latitude` radians.
  /// @param out as many blocks as the map's width needs.
  virtual void fillRow(std::uint32_t row, float latitude, std::span<Block> out) const = 0;

 protected:
  BackgroundSource() = default;
  BackgroundSource(const BackgroundSource&) = delete;
  BackgroundSource& operator=(const BackgroundSource&) = delete;
};

}  // namespace orv::hdri::blockedAVX2
