#pragma once

#include "backgrounds/BackgroundSource.h"
#include "backgrounds/ColorAdjustment.h"
#include "backgrounds/InterleavedMap.h"
#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

/// A background whose pixels were made before painting: a prepared map of exactly the painter's size, and a
/// sampling copy where the painter asked for one.
class MapBackground : public BackgroundSource {
 public:
  /// Bilinear look-up in the sampling copy.
  void sampleBlock(std::span<Block> out, const float* u, const float* v) const override;
  /// Whether there is a sampling copy.
  bool canSample() const override { return !samplingCopy_.empty(); }
  /// A copy of the prepared map's row.
  void fillRow(std::uint32_t row, float latitude, std::span<Block> out) const override;

  BlockedMap& preparedMap() { return preparedMap_; }
  const BlockedMap& preparedMap() const { return preparedMap_; }
  /// Whether the adjustment can have made negative channels.
  bool canBeNegative() const { return adjustment_.negates(); }
  InterleavedMap& samplingCopy() { return samplingCopy_; }
  const InterleavedMap& samplingCopy() const { return samplingCopy_; }

 protected:
  explicit MapBackground(const Adjustments& adjustments) : adjustment_(adjustments) {}

  /// Gives the old prepared map back and makes a new one of the painter's size. Throws as `BlockedMap` does;
  /// the prepared map is then empty.
  void renewPreparedMap(const PaintContext& context);

  const ColorAdjustment& adjustment() const { return adjustment_; }

 private:
  BlockedMap preparedMap_;
  InterleavedMap samplingCopy_;
  ColorAdjustment adjustment_;
};

}  // namespace orv::hdri::blockedAVX2
