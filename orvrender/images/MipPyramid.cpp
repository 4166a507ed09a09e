#include "orvrender/images/MipPyramid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
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
std::vector<Taps> tapsOf(std::int32_t sourceSize, std::int32_t targetSize) {
  const auto source = static_cast<std::uint32_t>(sourceSize), target = static_cast<std::uint32_t>(targetSize);
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

std::size_t sizeOf(const PixelView& pixels) {
  return static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
}

/// Rounding must not make an infinity of the largest floats.
constexpr float kMost = std::numeric_limits<float>::max();

/// Weighs the rows of `row` up, floats `begin` to `end` of them.
void addRows(const float* from, std::size_t stride, const Taps& row, std::size_t begin, std::size_t end,
             float* __restrict sums) {
  const float* const rows = from + row.first * stride;
  for (std::size_t i = begin; i < end; ++i) sums[i - begin] = row.weights[0] * rows[i];
  for (std::size_t k = 1; k < row.count; ++k)
    for (std::size_t i = begin; i < end; ++i) sums[i - begin] += row.weights[k] * rows[k * stride + i];
}

/// Averages a plane of `channels` interleaved floats.
template <std::size_t channels>
void shrink(const float* from, std::int32_t fromWidth, float* to, const std::vector<Taps>& columns,
            const std::vector<Taps>& rows) {
  const std::uint64_t pixels = std::uint64_t{columns.size()} * rows.size();
  forEachImageRow(static_cast<std::uint32_t>(rows.size()), pixels, [&](std::uint32_t y) {
    // So many columns at a time as the nearest cache holds.
    constexpr std::size_t kColumns = 256;
    float sums[channels * (3 * kColumns + 4)];
    float* out = to + y * columns.size() * channels;
    for (std::size_t x0 = 0; x0 < columns.size(); x0 += kColumns) {
      const std::size_t x1 = std::min(x0 + kColumns, columns.size());
      const std::size_t begin = columns[x0].first;
      const std::size_t end = columns[x1 - 1].first + columns[x1 - 1].count;
      addRows(from, channels * static_cast<std::size_t>(fromWidth), rows[y], channels * begin, channels * end,
              sums);
      for (std::size_t x = x0; x < x1; ++x) {
        const Taps& column = columns[x];
        const float* const in = sums + channels * (column.first - begin);
        for (std::size_t c = 0; c < channels; ++c) {
          float sum = column.weights[0] * in[c];
          for (std::size_t k = 1; k < column.count; ++k) sum += column.weights[k] * in[k * channels + c];
          *out++ = std::clamp(sum, -kMost, kMost);
        }
      }
    }
  });
}

/// What a look-up's footprint asks of the pyramid.
struct Probes {
  float width = 1;  ///< of one, in the image's pixels, at least 1
  int count = 1;
  float stepS = 0;  ///< from one to the next, in the image's pixels
  float stepT = 0;
};

/// `x` within limits, `otherwise` where it is not finite.
float limited(float x, float least, float most, float otherwise) {
  return x - x == 0 ? lesser(greater(x, least), most) : otherwise;
}

/// Footprints beyond the whole image see no more of it.
float footprint(float change) { return limited(change, -2, 2, 0); }

// The footprint of a round pixel is an ellipse. With the changes a = (as, at) along the map's row and b along
// its column, in the image's pixels, its axes are the singular values of [a b]: the sum of their squares is
// |a|^2 + |b|^2, their product |a x b|.
Probes probesOf(const orvImage_lookup& lookup, float width, float height) {
  const float scaleS = limited(lookup.widthS, 0, 1e3f, 1) * width;
  const float scaleT = limited(lookup.widthT, 0, 1e3f, 1) * height;
  const float as = footprint(lookup.dsdx) * scaleS, at = footprint(lookup.dtdx) * scaleT;
  const float bs = footprint(lookup.dsdy) * scaleS, bt = footprint(lookup.dtdy) * scaleT;
  const float ss = as * as + bs * bs, st = as * at + bs * bt, tt = at * at + bt * bt;
  const float mean = 0.5f * (ss + tt), half = 0.5f * (ss - tt);
  const float longerSquare = mean + std::sqrt(half * half + st * st);
  // Inside a pixel of the image there is nothing to average.
  if (!(longerSquare > 1)) return {};

  float longer = std::sqrt(longerSquare);
  float probe = greater(std::abs(as * bt - at * bs) / longer, 1.0f);
  const auto most = static_cast<float>(std::clamp(lookup.maxAnisotropy, 1u, 64u));
  if (longer > most * probe) {
    if (lookup.conservative != 0)
      probe = longer / most;
    else
      longer = most * probe;
  }
  // An eighth of a probe's width more takes no further one.
  const float least = longer / probe - 0.125f;
  const int whole = static_cast<int>(least);
  const int count = static_cast<float>(whole) < least ? whole + 1 : whole;
  if (count < 2) return {probe, 1, 0, 0};

  // The probes at the ends end where the longer axis does. Its direction is the eigenvector of the larger
  // eigenvalue, from the row of the matrix that does not cancel.
  const float s = half > 0 ? longerSquare - tt : st;
  const float t = half > 0 ? st : longerSquare - ss;
  const float step = (longer - probe) / (static_cast<float>(count - 1) * std::sqrt(s * s + t * t));
  return {probe, count, step * s, step * t};
}

}  // namespace

MipPyramid::MipPyramid(const Pixels& base) : levels_{viewOf(base)} {
  const std::uint32_t count = mipLevels(base.width, base.height);
  levels_.reserve(count);
  const std::size_t channels = base.alpha ? 4 : 3;
  std::size_t pixels = 0;
  for (std::uint32_t i = 1; i < count; ++i) {
    const PixelView& from = levels_.back();
    levels_.push_back({std::max(from.width / 2, 1), std::max(from.height / 2, 1), nullptr, nullptr});
    pixels += sizeOf(levels_.back());
  }
  if (pixels == 0) return;
  bytes_ = pixels * channels * sizeof(float);
  smaller_ = allocateFloats(pixels * channels);
  if (!smaller_) throw std::bad_alloc();

  float* next = smaller_.get();
  for (std::size_t i = 1; i < levels_.size(); ++i) {
    const PixelView& from = levels_[i - 1];
    PixelView& to = levels_[i];
    const std::size_t size = sizeOf(to);
    const std::vector<Taps> columns = tapsOf(from.width, to.width);
    const std::vector<Taps> rows = tapsOf(from.height, to.height);
    shrink<3>(from.rgb, from.width, next, columns, rows);
    to.rgb = next;
    next += 3 * size;
    if (!base.alpha) continue;
    shrink<1>(from.alpha, from.width, next, columns, rows);
    to.alpha = next;
    next += size;
  }
}

Quad MipPyramid::sample(Quad at, const orvImage_lookup& lookup) const {
  const Quad size = levels_[0].size;
  const Probes probes = probesOf(lookup, size[0], size[1]);
  // A width of 2^k (1 + f) lies between levels k and k + 1, at f: a float's exponent and mantissa.
  const auto bits = std::bit_cast<std::uint32_t>(probes.width);
  const std::size_t last = levels_.size() - 1;
  const std::size_t fine = std::min(std::size_t{(bits >> 23) - 127}, last);
  const PixelView &finer = levels_[fine], &coarser = levels_[std::min(fine + 1, last)];
  const float between = std::bit_cast<float>((bits & 0x007FFFFFu) | 0x3F800000u) - 1.0f;
  const auto trilinear = [&](Quad place) {
    const Quad color = bilinear(finer, place);
    return between > 0 ? mix(color, bilinear(coarser, place), between) : color;
  };
  if (probes.count == 1) return trilinear(at);

  const Quad step = Quad{probes.stepS, probes.stepT} / Quad{size[0], size[1], 1, 1};
  const float share = 1 / static_cast<float>(probes.count);
  const float start = 0.5f * static_cast<float>(1 - probes.count);
  Quad color{};
  for (int i = 0; i < probes.count; ++i)
    color += share * trilinear(at + (start + static_cast<float>(i)) * step);
  if (!levels_[0].alpha) color[3] = 1;
  return greater(lesser(color, Quad{} + kMost), Quad{} - kMost);
}

}  // namespace orv::host
