#pragma once

#include <cstdint>

#include "hdri/Brush.h"
#include "maps/AlignedObject.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;
struct PaintContext;

/// Where a fill puts the colors and weights that it works out, and the positions that it looks up; one per
/// thread.
struct alignas(32) FillScratch {
  Block color[kBatchBlocks];
  alignas(32) float weight[8 * kBatchBlocks];
  alignas(32) float u[8 * kBatchBlocks];
  alignas(32) float v[8 * kBatchBlocks];
};

/// Colors and weights of a batch: block i has the colors `color[i * step]` and the weights `weight + 8 i`.
/// They lie in the scratch, the batch or the fill itself.
struct Shading {
  const Block* color;
  std::size_t step;  ///< 0 where all blocks share their colors, else 1
  const float* weight;
};

/// What a pin paints inside its shape. Made from the pin's brush, whose values it copies. `prepare` and
/// `release` run alone on the set-up thread around each paint; everything else only reads and is called from
/// many threads.
class PinFill : public AlignedObject {
 public:
  virtual ~PinFill() = default;

  /// Gets what painting needs. @param background prepared already; it outlives the paint.
  /// @return false when it can not be had; the fill is then replaced.
  virtual bool prepare(const PaintContext& context, const BackgroundSource& background);
  /// Gives back what `prepare` got.
  virtual void release();
  /// What the fill asks of the shape: kNeedsCoordinates, kNeedsDirection.
  virtual std::uint32_t requirements() const;
  /// Colors and weights of a batch, whose `weight` is the pin's coverage.
  virtual Shading shade(const PixelBatch& batch, FillScratch& scratch) const = 0;

  /// Shades the blocks that have a weight (a plain color all) and merges them into `batch.color` by the
  /// brush's blend mode; results below 0 and those that are no numbers become 0, in blocks without a weight
  /// as well. An unknown mode only does the latter.
  void composite(const PixelBatch& batch, FillScratch& scratch) const;

  BrushKind kind() const { return static_cast<BrushKind>(kind_); }
  std::uint32_t mode() const { return mode_; }

 protected:
  explicit PinFill(const Brush& brush);
  PinFill(const PinFill&) = delete;
  PinFill& operator=(const PinFill&) = delete;

 private:
  void compositeRun(const PixelBatch& batch, FillScratch& scratch) const;

  std::uint32_t mode_;
  std::uint32_t kind_;
};

}  // namespace orv::hdri::blockedAVX2
