#include "backgrounds/MapBackground.h"

#include <algorithm>

#include "backgrounds/PaintContext.h"

namespace orv::hdri::blockedAVX2 {

void MapBackground::sampleBlock(std::span<Block> out, const float* u, const float* v) const {
  samplingCopy_.sample(u, v, out);
}

void MapBackground::fillRow(std::uint32_t row, float, std::span<Block> out) const {
  if (out.empty()) return;
  std::copy_n(preparedMap_.row(row).data(), out.size(), out.data());
}

void MapBackground::renewPreparedMap(const PaintContext& context) {
  // Given back first, so that the host can hand the same storage out again.
  preparedMap_.release();
  preparedMap_ =
      BlockedMap(static_cast<std::uint32_t>(context.width), static_cast<std::uint32_t>(context.height));
}

}  // namespace orv::hdri::blockedAVX2
