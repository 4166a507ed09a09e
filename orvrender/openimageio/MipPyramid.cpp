#include "orvrender/openimageio/MipPyramid.h"

#include <algorithm>
#include <new>

#include "orvrender/files/image_rows.h"

namespace orv::host {
namespace {

/// The pixels of a row or column that make up one of the next level: `count` from `first` on, with weights
/// that add up to 1.
struct Taps {
  std::uint32_t first;
  std::uint32_t count;
  float weights[4];
};

/// Pixel i of `target` covers [i, i + 1) * source / target. The ratio is 2 to 3, or 1.
std::vector<Taps> tapsOf(std::uint32_t source, std::uint32_t target) {
  std::vector<Taps> taps(target);
  const double ratio = static_cast<double>(source) / target;
  for (std::uint32_t i = 0; i < target; ++i) {
    const double begin = i * ratio;
    const double end = std::min((i + 1) * ratio, static_cast<double>(source));
    Taps& t = taps[i];
    t.first = static_cast<std::uint32_t>(begin);
    t.count = 0;
    for (std::uint32_t s = t.first; s < source && t.count < 4; ++s) {
      const double covered = std::min(end, s + 1.0) - std::max(begin, static_cast<double>(s));
      if (covered <= 0) break;
      t.weights[t.count++] = static_cast<float>(covered / ratio);
    }
  }
  return taps;
}

/// Averages a plane of `channels` interleaved floats.
void shrink(const float* from, std::uint32_t fromWidth, float* to, const std::vector<Taps>& columns,
            const std::vector<Taps>& rows, std::size_t channels) {
  const std::uint64_t pixels = std::uint64_t{columns.size()} * rows.size();
  forEachImageRow(static_cast<std::uint32_t>(rows.size()), pixels, [&](std::uint32_t y) {
    const Taps& row = rows[y];
    float* out = to + y * columns.size() * channels;
    for (const Taps& column : columns) {
      for (std::size_t c = 0; c < channels; ++c) {
        float sum = 0;
        for (std::uint32_t j = 0; j < row.count; ++j) {
          const float* in = from + (std::size_t{row.first + j} * fromWidth + column.first) * channels + c;
          for (std::uint32_t i = 0; i < column.count; ++i) {
            sum += row.weights[j] * column.weights[i] * in[i * channels];
          }
        }
        *out++ = sum;
      }
    }
  });
}

}  // namespace

MipPyramid::MipPyramid(const Pixels& base) : base_(base) {
  const std::uint32_t count = mipLevels(base.width, base.height);
  smaller_.reserve(count - 1);
  while (smaller_.size() + 1 < count) {
    const Pixels& from = level(static_cast<std::uint32_t>(smaller_.size()));
    Pixels to;
    to.width = std::max(from.width / 2, 1u);
    to.height = std::max(from.height / 2, 1u);
    to.rgb = allocateFloats(3 * to.count());
    if (base.alpha) to.alpha = allocateFloats(to.count());
    if (!to.rgb || (base.alpha && !to.alpha)) throw std::bad_alloc();

    const std::vector<Taps> columns = tapsOf(from.width, to.width);
    const std::vector<Taps> rows = tapsOf(from.height, to.height);
    shrink(from.rgb.get(), from.width, to.rgb.get(), columns, rows, 3);
    if (base.alpha) shrink(from.alpha.get(), from.width, to.alpha.get(), columns, rows, 1);
    smaller_.push_back(std::move(to));
  }
}

std::size_t MipPyramid::bytes() const {
  std::size_t sum = 0;
  for (const Pixels& pixels : smaller_) sum += pixels.bytes();
  return sum;
}

}  // namespace orv::host
