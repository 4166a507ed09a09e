#include "backgrounds/MapBackground.h"

#include <algorithm>

#include "backgrounds/bilinear.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

Block& MapBackground::sampleBlock(Block& out, Float8 u, Float8 v) const {
  sampleBilinear(samplingCopy_, u, v, out);
  return out;
}

void MapBackground::fillRow(std::uint32_t row, float, std::span<Block> out) const {
  if (out.empty()) return;
  std::copy_n(preparedMap_.row(row).data(), out.size(), out.data());
}

void MapBackground::renewPreparedMap(const BlockedPainter& painter) {
  // Given back first, so that the host can hand the same storage out again.
  preparedMap_.release();
  preparedMap_ =
      BlockedMap(static_cast<std::uint32_t>(painter.width()), static_cast<std::uint32_t>(painter.height()));
}

}  // namespace orv::hdri::blockedAVX2
