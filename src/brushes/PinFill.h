#pragma once

#include <cstdint>

#include "hdri/Brush.h"
#include "host/AlignedObject.h"
#include "painter/BlockedMap.h"
#include "shapes/PixelBatch.h"
#include "shapes/PixelRun.h"

namespace orv::hdri::blockedAVX2 {

class BlockedPainter;

/// Where a fill puts the colours and weights that it works out; one per thread.
struct alignas(32) FillScratch {
  Block colour[kRunBlocks];
  alignas(32) float weight[8 * kRunBlocks];
};

/// Colours and weights of a run: block i has the colours `colour[i * step]` and the weights `weight + 8 i`.
/// They lie in the scratch, the run or the fill itself.
struct Shading {
  const Block* colour;
  std::size_t step;  ///< 0 where all blocks share their colours, else 1
  const float* weight;
};

/// What a pin paints inside its shape. Made from the pin's brush, whose values it copies. `prepare` and
/// `release` run alone on the set-up thread around each paint; everything else only reads and is called from
/// many threads.
class PinFill : public AlignedObject {
 public:
  virtual ~PinFill() = default;

  /// Gets what painting needs. @return false when it can not be had; the fill is then replaced.
  virtual bool prepare(BlockedPainter& painter);
  /// Gives back what `prepare` got.
  virtual void release(BlockedPainter& painter);
  /// What the fill asks of the shape: kNeedsCoordinates, kNeedsDirection.
  virtual std::uint32_t requirements() const;
  /// Colours and weights of one block. @param weight eight floats, 32-byte aligned.
  virtual void shade(PixelBatch& context, Block& colour, float* weight) const;

  /// Colours and weights of a run, whose `weight` is the pin's coverage.
  virtual Shading shadeRun(const PixelRun& run, FillScratch& scratch) const = 0;

  /// Shades one block and merges it into `batch.colour`.
  void composite(PixelBatch& batch) const;
  /// Shades a run and merges it into its `run.blocks` blocks of the map, by the brush's blend mode; results
  /// below 0 and those that are no numbers become 0. An unknown mode only does the latter.
  void compositeRun(const PixelRun& run, Block* pixels, FillScratch& scratch) const;

  BrushKind kind() const { return static_cast<BrushKind>(kind_); }
  std::uint32_t mode() const { return mode_; }

 protected:
  explicit PinFill(const Brush& brush);
  PinFill(const PinFill&) = delete;
  PinFill& operator=(const PinFill&) = delete;

 private:
  std::uint32_t mode_;
  std::uint32_t kind_;
};

}  // namespace orv::hdri::blockedAVX2
