#include "backgrounds/conversion.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "host/orvImage.h"
#include "maps/row_loop.h"
#include "simd/transpose.h"

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

/// Eight pixels as planes.
struct Planes8 {
  Float8 r;
  Float8 g;
  Float8 b;
};

/// From 24 interleaved floats.
inline Planes8 planesOf(const float* rgb) {
  Planes8 p;
  deinterleave(loadUnaligned(rgb), loadUnaligned(rgb + 8), loadUnaligned(rgb + 16), p.r, p.g, p.b);
  return p;
}

/// Channels limited to 0 and the largest finite float.
inline Planes8 limited(const Planes8& p) {
  const Float8 most = splat(std::numeric_limits<float>::max());
  return {min(max(p.r, zero8()), most), min(max(p.g, zero8()), most), min(max(p.b, zero8()), most)};
}

/// Takes `out.size()` blocks, `read(i)` each, through the adjustment into the map. Updates the maximum.
template <typename Read>
void convertChunk(const Read& read, const ColorAdjustment& adjustment, bool streaming, std::span<Block> out,
                  Float8& maximum) {
  if (!adjustment.active()) {
    for (std::size_t i = 0; i < out.size(); ++i) {
      const Planes8 p = limited(read(i));
      maximum = max(max(max(p.r, p.g), p.b), maximum);
      storeBlock(out[i], p.r, p.g, p.b, streaming);
    }
    return;
  }
  Block scratch[kChunk];
  for (std::size_t i = 0; i < out.size(); ++i) {
    const Planes8 p = limited(read(i));
    storeBlock(scratch[i], p.r, p.g, p.b, false);
  }
  adjustment.apply(scratch, out.size());
  for (std::size_t i = 0; i < out.size(); ++i) {
    const Float8 r = load(scratch[i].r);
    const Float8 g = load(scratch[i].g);
    const Float8 b = load(scratch[i].b);
    maximum = max(max(max(r, g), b), maximum);
    storeBlock(out[i], r, g, b, streaming);
  }
}

/// Converts every row of the map in chunks of blocks. `readOf(y)` gives what reads row y: `read(block)` its
/// eight pixels from 8 `block` on; columns past the width go on from the row's start.
template <typename ReadOf>
float convertRows(const ColorAdjustment& adjustment, BlockedMap& map, const ReadOf& readOf) {
  if (map.empty()) return 0.0f;
  const bool streaming = map.bytes() >= kStreamingBytes;
  const auto convertRow = [&](std::uint32_t y, Float8& maximum) {
    const auto read = readOf(y);
    const std::span<Block> row = map.row(y);
    for (std::size_t block = 0; block < row.size(); block += kChunk) {
      const std::size_t count = std::min(kChunk, row.size() - block);
      convertChunk([&](std::size_t i) { return read(block + i); }, adjustment, streaming,
                   row.subspan(block, count), maximum);
    }
    if (streaming) finishStreaming();
  };
  const auto larger = [](Float8 a, Float8 b) { return max(a, b); };
  return horizontalMax(reduceOverRows(map.height(), zero8(), convertRow, larger));
}

/// Source index of each of `count` map indices: trunc(i (sourceCount / count)) in 32-bit floats. Indices from
/// `count` to `padded` - 1 go on from the start.
std::vector<std::int32_t> sourceIndices(std::uint32_t count, std::uint32_t padded,
                                        std::uint32_t sourceCount) {
  const float scale = static_cast<float>(sourceCount) / static_cast<float>(count);
  const auto last = static_cast<std::int64_t>(sourceCount) - 1;
  std::vector<std::int32_t> indices(padded);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto index = static_cast<std::int64_t>(static_cast<float>(i) * scale);
    indices[i] = static_cast<std::int32_t>(std::clamp<std::int64_t>(index, 0, last));
  }
  for (std::uint32_t i = count; i < padded; ++i) indices[i] = indices[i - count];
  return indices;
}

}  // namespace

float convertPixels(const float* rgb, const ColorAdjustment& adjustment, BlockedMap& map) {
  const std::size_t width = map.width();
  return convertRows(adjustment, map, [=](std::size_t y) {
    return [row = rgb + 3 * y * width, width](std::size_t block) {
      if (8 * block + 8 <= width) return planesOf(row + 24 * block);
      float tail[24];
      for (std::size_t i = 0; i < 8; ++i) std::copy_n(row + 3 * ((8 * block + i) % width), 3, tail + 3 * i);
      return planesOf(tail);
    };
  });
}

float convertScaled(const orvImage& image, const ColorAdjustment& adjustment, BlockedMap& map) {
  if (map.empty()) return 0.0f;
  const std::vector<std::int32_t> columns = sourceIndices(map.width(), map.paddedWidth(), image.width());
  const std::vector<std::int32_t> rows = sourceIndices(map.height(), map.height(), image.height());
  const float* const pixels = image.pixels();
  const std::size_t stride = 3 * std::size_t{image.width()};
  const auto lastRow = static_cast<std::int32_t>(image.height() - 1);
  return convertRows(adjustment, map, [&, pixels, stride, lastRow](std::size_t y) {
    const std::int32_t sourceRow = rows[y];
    // Pixels are read as four floats, which would pass the array's end in its last row.
    const float* const row =
        pixels && sourceRow != lastRow ? pixels + static_cast<std::size_t>(sourceRow) * stride : nullptr;
    return [&image, row, sourceRow, first = columns.data()](std::size_t block) {
      const std::int32_t* const column = first + 8 * block;
      if (row) {
        const float* from[8];
        for (std::size_t i = 0; i < 8; ++i) from[i] = row + 3 * static_cast<std::size_t>(column[i]);
        Float8 planes[4];
        loadColumns(from, 0, planes);
        return Planes8{planes[0], planes[1], planes[2]};
      }
      float rgb[24];
      for (std::size_t i = 0; i < 8; ++i) image.get_pixel(column[i], sourceRow, rgb + 3 * i);
      return planesOf(rgb);
    };
  });
}

}  // namespace orv::hdri::blockedAVX2
