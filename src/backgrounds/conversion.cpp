#include "backgrounds/conversion.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "host/orvImage.h"
#include "maps/row_loop.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Blocks converted at a time: their scratch stays in the first-level cache.
constexpr std::size_t kChunk = 32;

void storeBlock(Block& out, Float8 r, Float8 g, Float8 b, bool streaming) {
  if (streaming) {
    storeStreaming(out.r, r);
    storeStreaming(out.g, g);
    storeStreaming(out.b, b);
  } else {
    store(out.r, r);
    store(out.g, g);
    store(out.b, b);
  }
}

/// De-interleaves eight pixels and limits their channels to 0 and the largest finite float.
inline void loadLimited(const float* rgb, Float8& r, Float8& g, Float8& b) {
  const Float8 most = splat(std::numeric_limits<float>::max());
  deinterleave(loadUnaligned(rgb), loadUnaligned(rgb + 8), loadUnaligned(rgb + 16), r, g, b);
  r = min(max(r, zero8()), most);
  g = min(max(g, zero8()), most);
  b = min(max(b, zero8()), most);
}

/// Takes `count` blocks of interleaved pixels through the adjustment into the map. Updates the maximum.
void convertChunk(const float* rgb, std::size_t count, const ColorAdjustment& adjustment, bool streaming,
                  Block* out, Float8& maximum) {
  Float8 r, g, b;
  if (!adjustment.active()) {
    for (std::size_t i = 0; i < count; ++i) {
      loadLimited(rgb + 24 * i, r, g, b);
      maximum = max(max(max(r, g), b), maximum);
      storeBlock(out[i], r, g, b, streaming);
    }
    return;
  }
  Block scratch[kChunk];
  for (std::size_t i = 0; i < count; ++i) {
    loadLimited(rgb + 24 * i, r, g, b);
    storeBlock(scratch[i], r, g, b, false);
  }
  adjustment.apply(scratch, count);
  for (std::size_t i = 0; i < count; ++i) {
    r = load(scratch[i].r);
    g = load(scratch[i].g);
    b = load(scratch[i].b);
    maximum = max(max(max(r, g), b), maximum);
    storeBlock(out[i], r, g, b, streaming);
  }
}

/// Converts every row of the map in chunks of blocks. `fetch(y, x, count, buffer)` gives the interleaved
/// pixels x to x + count - 1 of row y, in place or in `buffer` (room for a chunk); columns past the width go
/// on from the row's start.
template <typename Fetch>
float convertRows(const ColorAdjustment& adjustment, BlockedMap& map, const Fetch& fetch) {
  if (map.empty()) return 0.0f;
  const bool streaming = map.bytes() >= kStreamingBytes;
  const auto convertRow = [&](std::uint32_t y, Float8& maximum) {
    float buffer[kChunk * 24];
    const std::span<Block> row = map.row(y);
    for (std::size_t block = 0; block < row.size(); block += kChunk) {
      const std::size_t count = std::min(kChunk, row.size() - block);
      convertChunk(fetch(y, 8 * block, 8 * count, buffer), count, adjustment, streaming, &row[block],
                   maximum);
    }
    if (streaming) finishStreaming();
  };
  const auto larger = [](Float8 a, Float8 b) { return max(a, b); };
  return horizontalMax(reduceOverRows(map.height(), zero8(), convertRow, larger));
}

/// Source index of each of `count` map indices: trunc(i (sourceCount / count)) in 32-bit floats.
std::vector<std::int32_t> sourceIndices(std::uint32_t count, std::uint32_t sourceCount) {
  const float scale = static_cast<float>(sourceCount) / static_cast<float>(count);
  const auto last = static_cast<std::int64_t>(sourceCount) - 1;
  std::vector<std::int32_t> indices(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto index = static_cast<std::int64_t>(static_cast<float>(i) * scale);
    indices[i] = static_cast<std::int32_t>(std::clamp<std::int64_t>(index, 0, last));
  }
  return indices;
}

}  // namespace

float convertPixels(const float* rgb, const ColorAdjustment& adjustment, BlockedMap& map) {
  const std::size_t width = map.width();
  return convertRows(adjustment, map, [=](std::size_t y, std::size_t x, std::size_t count, float* buffer) {
    const float* row = rgb + 3 * y * width;
    if (x + count <= width) return row + 3 * x;
    for (std::size_t i = 0; i < count; ++i) std::copy_n(row + 3 * ((x + i) % width), 3, buffer + 3 * i);
    return static_cast<const float*>(buffer);
  });
}

float convertScaled(const orvImage& image, const ColorAdjustment& adjustment, BlockedMap& map) {
  const std::vector<std::int32_t> columns = sourceIndices(map.width(), image.width());
  const std::vector<std::int32_t> rows = sourceIndices(map.height(), image.height());
  return convertRows(adjustment, map, [&](std::size_t y, std::size_t x, std::size_t count, float* buffer) {
    for (std::size_t i = 0; i < count; ++i)
      image.get_pixel(columns[(x + i) % columns.size()], rows[y], buffer + 3 * i);
    return static_cast<const float*>(buffer);
  });
}

}  // namespace orv::hdri::blockedAVX2
