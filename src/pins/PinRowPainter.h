#pragma once

#include <cstdint>

#include "fills/PinFill.h"
#include "maps/AlignedArray.h"
#include "maps/BlockedMap.h"
#include "pins/PassPlan.h"
#include "shapes/AzimuthSpans.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri {
struct EnvImage;
}

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;
struct PaintContext;

/// Composes rows of the map, one at a time, and stores them into the result. One per worker thread; keeps its
/// buffers from row to row.
class PinRowPainter {
 public:
  /// @param result where rows go.
  /// All must outlive the painter. @throws std::bad_alloc.
  PinRowPainter(const PaintContext& context, const BackgroundSource& background, const PassPlan& plan,
                EnvImage& result);

  /// Paints row `y`: the background, then the pins over it, then the store, then the progress.
  void paintRow(std::uint32_t y);

 private:
  /// The row's latitude with its sine and cosine, in all lanes.
  void setLatitude(float latitude);
  void layPin(const PlannedPin& pin, float latitude);
  void layBatch(const PlannedPin& pin, std::uint32_t firstBlock, std::uint32_t count);
  void storeRow(std::uint32_t y);

  const PaintContext* context_;
  const BackgroundSource* background_;
  const PassPlan* plan_;
  EnvImage* result_;
  AlignedArray<Block> row_;
  AzimuthSpans spans_;
  alignas(32) float latitude_[8];
  alignas(32) float sinLatitude_[8];
  alignas(32) float cosLatitude_[8];
  BatchPlanes planes_;
  FillScratch scratch_;
};

}  // namespace orv::hdri::blockedAVX2
