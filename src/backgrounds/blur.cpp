#include "backgrounds/blur.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "backgrounds/PaintContext.h"
#include "backgrounds/SpectralFilter.h"
#include "backgrounds/symmetric_filter.h"
#include "maps/row_loop.h"
#include "simd/transpose.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Block columns that a task packs at once: 384 consecutive bytes of each row, whole cache lines.
constexpr std::uint32_t kColumns = 4;

/// Rows that are asked for ahead while columns are packed.
constexpr std::size_t kAhead = 8;

/// Rows of blocks, `stride` floats apart.
struct BlockRows {
  float* data;
  std::size_t stride;
  std::uint32_t rows;     // that may be written
  std::uint32_t columns;  // blocks a row
};

/// A thread's packed block columns, one line a channel with room for what lies past its ends, and the
/// filtered lines of one block column.
class Scratch {
 public:
  Scratch(std::size_t count, std::size_t radius, std::size_t points)
      : count_(count),
        radius_(radius),
        lineFloats_(8 * (count + 2 * radius + kFilterOutputs)),
        resultFloats_(8 * (count + kFilterOutputs + 8)),
        floats_(3 * (kColumns * lineFloats_ + resultFloats_)),
        points_(points) {
    std::memset(floats_.data(), 0, floats_.size() * sizeof(float));
  }

  /// Value 0 of a column's line; values -radius ... count + kFilterOutputs - 1 + radius have room.
  float* line(std::size_t column, std::size_t channel) {
    return floats_.data() + (3 * column + channel) * lineFloats_ + 8 * radius_;
  }
  /// Room for the filtered values, whole blocks of them.
  float* result(std::size_t channel) {
    return floats_.data() + 3 * kColumns * lineFloats_ + channel * resultFloats_;
  }

  /// What the spectral filter works on.
  Complex4* points() { return points_.data(); }

  /// Packs the halves of values: the sum of two of them can not overflow.
  void pack(const BlockRows& source, std::uint32_t firstColumn, std::uint32_t columns) {
    const Float8 half = splat(0.5f);
    for (std::size_t p = 0; p < count_; ++p) {
      const float* block = source.data + p * source.stride + std::size_t{24} * firstColumn;
      // The caches do not foresee steps of a row.
      if (p + kAhead < count_)
        for (std::size_t i = 0; i < std::size_t{24} * columns; i += 16)
          prefetch(block + kAhead * source.stride + i);
      for (std::uint32_t column = 0; column < columns; ++column) {
        for (std::size_t channel = 0; channel < 3; ++channel, block += 8)
          store(line(column, channel) + 8 * p, half * load(block));
      }
    }
  }

  /// Lets a line go on from its other end.
  void wrap(float* line) const {
    std::memcpy(line - 8 * radius_, line + 8 * (count_ - radius_), 8 * radius_ * sizeof(float));
    for (std::size_t p = count_; p < count_ + radius_ + kFilterOutputs; ++p)
      store(line + 8 * p, load(line + 8 * (p - count_)));
  }

  /// Makes what the last block holds past the line's end 0.
  void clearTail(float* result) const { std::memset(result + 8 * count_, 0, 64 * sizeof(float)); }

 private:
  std::size_t count_;
  std::size_t radius_;
  std::size_t lineFloats_;
  std::size_t resultFloats_;
  AlignedFloats floats_;
  AlignedArray<Complex4> points_;
};

/// Writes the filtered lines of one block column as up to eight rows of blocks, two blocks of each row at a
/// time: whole cache lines, so that they can be written past the caches.
template <bool streaming>
void storeTransposed(Scratch& scratch, std::size_t count, const BlockRows& destination,
                     std::uint32_t firstRow) {
  const std::uint32_t rows = std::min(8u, destination.rows - firstRow);
  const Float8 most = splat(std::numeric_limits<float>::max());
  const std::size_t blocks = blocksFor(static_cast<std::uint32_t>(count));
  for (std::size_t block = 0; block < blocks; block += 2) {
    alignas(64) float staged[8][48];
    const std::size_t vectors = 3 * std::min<std::size_t>(2, blocks - block);
    for (std::size_t v = 0; v < vectors; ++v) {
      const float* lines = scratch.result(v % 3) + 64 * (block + v / 3);
      Float8 values[8];
      for (std::size_t i = 0; i < 8; ++i) values[i] = min(most, load(lines + 8 * i));
      transpose(values);
      for (std::size_t row = 0; row < 8; ++row) store(staged[row] + 8 * v, values[row]);
    }
    float* out = destination.data + firstRow * destination.stride + 24 * block;
    for (std::size_t row = 0; row < rows; ++row, out += destination.stride)
      for (std::size_t v = 0; v < vectors; ++v) {
        if constexpr (streaming)
          storeStreaming(out + 8 * v, load(staged[row] + 8 * v));
        else
          store(out + 8 * v, load(staged[row] + 8 * v));
      }
  }
  if constexpr (streaming) finishStreaming();
}

/// Filters every block column of `source` (its lines have `count` values, one a row) and writes column c as
/// the rows 8 c to 8 c + 7 of `destination`. `scale`, where not null, has a factor for each value of a line.
/// `doubled` is twice the half kernel, for lines hold halves; what overflows is the largest finite float.
/// `finish(column)` is called after each block column.
template <typename Finish>
void filterColumns(const BlockRows& source, std::uint32_t count, const BlockRows& destination,
                   const AlignedFloats& doubled, Ends ends, const float* scale, const Finish& finish) {
  const std::size_t radius = doubled.size() - 1;
  const bool streaming = destination.rows * destination.stride * sizeof(float) >= kStreamingBytes;
  std::optional<SpectralFilter> spectral;
  if (radius >= SpectralFilter::kLeastRadius) spectral.emplace(doubled, count, ends);
  tbb::enumerable_thread_specific<Scratch> scratches(
      [&] { return Scratch(count, radius, spectral ? spectral->points() : 0); });
  forEachRow(source.columns, kColumns, [&](std::uint32_t firstColumn) {
    Scratch& scratch = scratches.local();
    const std::uint32_t columns = std::min(kColumns, source.columns - firstColumn);
    scratch.pack(source, firstColumn, columns);
    for (std::uint32_t column = 0; column < columns; ++column) {
      for (std::size_t channel = 0; channel < 3; ++channel) {
        float* line = scratch.line(column, channel);
        float* result = scratch.result(channel);
        if (!spectral || !spectral->filter(line, scale, scratch.points(), result)) {
          if (ends == Ends::wrapped) scratch.wrap(line);
          filterLine(line, count, doubled.data(), radius, ends == Ends::truncated, result);
          if (scale) {
            for (std::size_t p = 0; p < count; ++p)
              store(result + 8 * p, load(result + 8 * p) * splat(scale[p]));
          }
        }
        scratch.clearTail(result);
      }
      if (streaming)
        storeTransposed<true>(scratch, count, destination, 8 * (firstColumn + column));
      else
        storeTransposed<false>(scratch, count, destination, 8 * (firstColumn + column));
      finish(firstColumn + column);
    }
  });
}

/// For each row, 1 / the sum of the weights that fall on rows of the map.
std::vector<float> truncationScales(const AlignedFloats& kernel, std::uint32_t height) {
  // sums[i] = w(1) + ... + w(i)
  std::vector<double> sums(kernel.size(), 0.0);
  for (std::size_t i = 1; i < kernel.size(); ++i) sums[i] = sums[i - 1] + double{kernel[i]};
  std::vector<float> scales(height);
  const std::size_t radius = kernel.size() - 1;
  for (std::size_t y = 0; y < height; ++y) {
    const double above = sums[std::min(radius, y)];
    const double below = sums[std::min(radius, height - 1 - y)];
    scales[y] = static_cast<float>(1.0 / (double{kernel[0]} + above + below));
  }
  return scales;
}

}  // namespace

void repeatIntoPadding(std::span<Block> row, std::size_t width) {
  for (std::size_t x = width; x < 8 * row.size(); ++x) {
    const Block& from = row[x % width / 8];
    Block& to = row[x / 8];
    to.r[x % 8] = from.r[x % width % 8];
    to.g[x % 8] = from.g[x % width % 8];
    to.b[x % 8] = from.b[x % width % 8];
  }
}

void blur(BlockedMap& map, const BlurSettings& settings, const PaintContext& context) {
  const AlignedFloats& kernel = settings.kernel();
  if (map.empty() || kernel.size() == 0) return;
  const std::uint32_t width = map.width();
  const std::uint32_t height = map.height();
  const std::uint32_t groups = blocksFor(height);

  // The transposed map between the passes: a row a column, padding columns too. A cache line more a row keeps
  // rows of powers of two from falling on the same cache sets.
  const std::size_t stride = std::size_t{24} * groups + 16;
  AlignedFloats storage(stride * map.paddedWidth());
  const BlockRows transposed{storage.data(), stride, map.paddedWidth(), groups};
  const auto columns = static_cast<std::uint32_t>(map.blocksPerRow());
  const BlockRows rows{map.data(), 24 * map.blocksPerRow(), height, columns};

  AlignedFloats doubled(kernel.size());
  std::transform(kernel.data(), kernel.data() + kernel.size(), doubled.data(), [](float w) { return 2 * w; });
  const std::vector<float> scales = truncationScales(kernel, height);
  filterColumns(rows, height, transposed, doubled, Ends::truncated, scales.data(),
                [&](std::uint32_t) { context.progressFraction(4.0f, static_cast<float>(width)); });
  filterColumns(transposed, map.paddedWidth(), rows, doubled, Ends::wrapped, nullptr,
                [&](std::uint32_t group) {
                  for (std::uint32_t y = 8 * group; y < std::min(8 * group + 8, height); ++y)
                    repeatIntoPadding(map.row(y), width);
                  context.progressFraction(4.0f, static_cast<float>(height));
                });
}

}  // namespace orv::hdri::blockedAVX2
