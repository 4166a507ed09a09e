#pragma once

#include <cstdint>

#include "pins/BlockRow.h"

namespace orv::hdri {
struct EnvImage;
}

namespace orv::hdri::blockedAVX2 {

class BlockedPainter;

/// Composes rows of the map, one at a time, and stores them into the result. One per worker thread; keeps its
/// buffers from row to row.
class PinRowPainter {
 public:
  /// @param result where rows go; null when the map has no pixels.
  PinRowPainter(const BlockedPainter* painter, EnvImage* result);

  /// Paints row `y`: the background, then the pins over it, then the store, then the progress.
  void paintRow(std::int32_t y);

 private:
  void storeRow(std::int32_t y);

  const BlockedPainter* painter_;
  EnvImage* result_;
  float invHeight_;
  BlockRow row_;
};

}  // namespace orv::hdri::blockedAVX2
