#include "backgrounds/InterleavedMap.h"

#include <algorithm>
#include <cmath>

#include "maps/row_loop.h"
#include "simd/transpose.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Blocks whose pixels are on their way from memory while one is blended.
constexpr std::size_t kAhead = 4;

/// An odd number of cache lines, so that rows of powers of two do not fall on the same cache sets.
std::size_t strideOf(const BlockedMap& map) {
  const std::size_t floats = 3 * std::max<std::size_t>(map.paddedWidth(), map.width() + std::size_t{2});
  const std::size_t lines = (floats + 15) / 16;
  return 16 * (lines | 1);
}

/// The largest float that is not above n - 1: indices made of it stay inside an axis of n pixels.
float lastIndex(std::uint32_t n) {
  const auto last = static_cast<float>(n - 1);
  return static_cast<double>(last) > static_cast<double>(n - 1) ? std::nextafter(last, 0.0f) : last;
}

/// Stores, where `streaming` past the caches.
inline void put(float* aligned, Float8 a, bool streaming) {
  streaming ? storeStreaming(aligned, a) : store(aligned, a);
}

/// The colours between eight pixels and their right neighbours, by `fx`.
inline void blendRow(const float* const (&from)[8], std::ptrdiff_t offset, Float8 fx, Float8 (&rgb)[3]) {
  // The left pixel's three channels and the right one's red, then the right one's green and blue.
  Float8 first[4], rest[4];
  loadColumns(from, offset, first);
  loadColumns(from, offset + 4, rest);
  rgb[0] = lerp(first[0], first[3], fx);
  rgb[1] = lerp(first[1], rest[0], fx);
  rgb[2] = lerp(first[2], rest[1], fx);
}

}  // namespace

InterleavedMap::InterleavedMap(const BlockedMap& map)
    : stride_(strideOf(map)),
      lastColumn_(lastIndex(map.width())),
      lastRow_(lastIndex(map.height())),
      pixels_(stride_ * (map.height() + std::size_t{1})) {
  const std::size_t width = map.width();
  const bool streaming = map.bytes() >= kStreamingBytes;
  const auto copyRow = [&](std::uint32_t y, Float8& largest) {
    float* out = pixels_.data() + y * stride_;
    const std::span<const Block> row = map.row(y % map.height());
    for (std::size_t block = 0; block < row.size(); ++block) {
      Float8 a, b, c;
      interleave(load(row[block].r), load(row[block].g), load(row[block].b), a, b, c);
      put(out + 24 * block, a, streaming);
      put(out + 24 * block + 8, b, streaming);
      put(out + 24 * block + 16, c, streaming);
      largest = max(max(abs(a), abs(b)), max(abs(c), largest));
    }
    // Made of the map, for what was written past the caches would have to come back.
    const Block& first = row[0];
    const float again[3] = {first.r[0], first.g[0], first.b[0]};
    std::copy_n(again, 3, out + 3 * width);
    if (streaming) finishStreaming();
  };
  const auto larger = [](Float8 a, Float8 b) { return max(a, b); };
  const Float8 largest = reduceOverRows(map.height() + 1, zero8(), copyRow, larger);
  quartered_ = horizontalMax(largest) > kMost / 4;
  if (!quartered_) return;
  forEachRow(map.height() + 1, 1, [&](std::uint32_t y) {
    float* const row = pixels_.data() + y * stride_;
    for (std::size_t i = 0; i < 3 * (width + 1); ++i) row[i] *= 0.25f;
  });
}

void InterleavedMap::positions(Float8 u, Float8 v, SamplePositions& out) const {
  const Float8 x = clamp01(u) * splat(lastColumn_);
  const Float8 y = clamp01(v) * splat(lastRow_);
  // Not negative, so truncation is the floor.
  const Int8 x0 = toIntTruncated(x);
  const Int8 y0 = toIntTruncated(y);
  // A stride beyond 32 bits has one row, whose y is 0.
  storeWideSum(out.offsets, y0, static_cast<std::uint32_t>(stride_), x0, 3);
  out.fx = x - toFloat(x0);
  out.fy = y - toFloat(y0);
}

void InterleavedMap::sample(const SamplePositions& at, Block& out, bool streaming) const {
  const float* from[8];
  for (int lane = 0; lane < 8; ++lane) from[lane] = pixelAt(at, lane);
  Float8 top[3], bottom[3];
  blendRow(from, 0, at.fx, top);
  blendRow(from, static_cast<std::ptrdiff_t>(stride_), at.fx, bottom);
  Float8 rgb[3];
  for (int c = 0; c < 3; ++c) rgb[c] = lerp(top[c], bottom[c], at.fy);
  if (quartered_)
    for (Float8& channel : rgb) channel = limited(channel * splat(4.0f));
  put(out.r, rgb[0], streaming);
  put(out.g, rgb[1], streaming);
  put(out.b, rgb[2], streaming);
}

void InterleavedMap::sample(const float* u, const float* v, std::span<Block> out) const {
  SamplePositions ring[kAhead];
  const auto place = [&](std::size_t block) {
    SamplePositions& at = ring[block % kAhead];
    positions(load(u + 8 * block), load(v + 8 * block), at);
    fetch(at);
  };
  for (std::size_t block = 0; block < std::min(kAhead, out.size()); ++block) place(block);
  for (std::size_t block = 0; block < out.size(); ++block) {
    sample(ring[block % kAhead], out[block]);
    if (block + kAhead < out.size()) place(block + kAhead);
  }
}

}  // namespace orv::hdri::blockedAVX2
