#include "orvrender/images/resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>
#include <vector>

#include "orvrender/files/image_rows.h"
#include "orvrender/images/Quad.h"

namespace orv::host {
namespace {

/// Values below 0 are no light: the painter raises them, so that they must not darken their neighbours first.
float lightOf(float x) { return greater(x, 0.0f); }

/// Rounding must not make an infinity of the largest floats.
constexpr float kMost = std::numeric_limits<float>::max();

/// Fills a row with `pixel(x)`. The channel too much of each is overwritten by the next.
template <typename Pixel>
void storePixels(float* row, std::size_t width, const Pixel& pixel) {
  for (std::size_t x = 0; x + 1 < width; ++x) store(row + 3 * x, pixel(x));
  const Quad last = pixel(width - 1);
  std::memcpy(row + 3 * (width - 1), &last, 3 * sizeof(float));
}

/// Room for two pixels in front of a row and behind it, and for working by fours.
constexpr std::size_t kMargin = 12;
std::unique_ptr<float[]> rowBuffer(std::size_t width) {
  return std::make_unique_for_overwrite<float[]>(3 * width + 2 * kMargin);
}

// Both measures tell how much of an axis lies from `begin` to `end`, in parts of `whole`, up to a factor.

struct ColumnMeasure {
  static double of(std::uint64_t begin, std::uint64_t end, std::uint64_t) {
    return static_cast<double>(end - begin);
  }
  static double density(double) { return 1; }
};

/// Bands of the sphere: the difference of the sines of their latitudes.
struct RowMeasure {
  static double of(std::uint64_t begin, std::uint64_t end, std::uint64_t whole) {
    const double half = std::numbers::pi / 2 / static_cast<double>(whole);
    return std::sin(static_cast<double>(begin + end) * half) *
           std::sin(static_cast<double>(end - begin) * half);
  }
  /// At a place from 0 to 1.
  static double density(double place) { return std::sin(std::numbers::pi * place); }
};

/// The cells of a longer axis that each cell of a shorter one covers, whole or in part, with weights that add
/// up to 1.
class Overlaps {
 public:
  template <typename Measure>
  Overlaps(Measure, std::uint32_t source, std::uint32_t target) : cells_(target) {
    weights_.reserve(std::size_t{source} + target);
    // In parts of which a source cell has `target` and a target cell `source`.
    const std::uint64_t whole = std::uint64_t{source} * target;
    for (std::uint64_t i = 0; i < target; ++i) {
      const std::uint64_t begin = i * source;
      const std::uint64_t end = begin + source;
      const std::uint64_t first = begin / target;
      const std::uint64_t last = (end - 1) / target;
      cells_[i] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last - first + 1),
                   weights_.size()};
      for (std::uint64_t s = first; s <= last; ++s) {
        const double part = Measure::of(std::max(begin, s * target), std::min(end, (s + 1) * target), whole);
        weights_.push_back(static_cast<float>(part / Measure::of(begin, end, whole)));
      }
    }
  }

  std::uint32_t first(std::size_t i) const { return cells_[i].first; }
  std::uint32_t count(std::size_t i) const { return cells_[i].count; }
  const float* weights(std::size_t i) const { return weights_.data() + cells_[i].weights; }

 private:
  struct Cell {
    std::uint32_t first;
    std::uint32_t count;
    std::size_t weights;
  };
  std::vector<Cell> cells_;
  std::vector<float> weights_;
};

/// What a cell of a longer axis takes of the curve through the centres of a shorter one's: of two or three
/// centres in a row their values and the curve's slopes there.
struct CurveCell {
  std::int32_t first;  ///< -1: the last centre, one turn back, or the first one beyond the pole
  std::int32_t last;
  float values[3];
  float slopes[3];
};

template <typename Measure>
std::vector<CurveCell> curveCells(Measure, std::uint32_t source, std::uint32_t target) {
  // Gauss and Legendre's places and weights of the seventh degree, for [0, 1].
  constexpr double kPlaces[4] = {0.06943184420297371, 0.33000947820757187, 0.6699905217924281,
                                 0.9305681557970262};
  constexpr double kWeights[4] = {0.17392742256872692, 0.32607257743127305, 0.32607257743127305,
                                  0.17392742256872692};
  std::vector<CurveCell> cells(target);
  // In parts of which the way from centre to centre has `step`.
  const std::int64_t step = 2 * std::int64_t{target};
  for (std::int64_t i = 0; i < target; ++i) {
    const std::int64_t begin = 2 * i * source - target;
    const std::int64_t end = begin + 2 * std::int64_t{source};
    const std::int64_t first = (begin + step) / step - 1;
    double values[3] = {};
    double slopes[3] = {};
    double sum = 0;
    for (std::int64_t k = 0; k < 2; ++k) {
      const std::int64_t centre = (first + k) * step;
      const double from = static_cast<double>(std::max(begin, centre) - centre) / static_cast<double>(step);
      const double to =
          static_cast<double>(std::min(end, centre + step) - centre) / static_cast<double>(step);
      if (to <= from) continue;
      for (int g = 0; g < 4; ++g) {
        const double t = from + (to - from) * kPlaces[g];
        const double place = (static_cast<double>(first + k) + t + 0.5) / source;
        const double weight = (to - from) * kWeights[g] * Measure::density(place);
        // Hermite's cubics.
        values[k] += weight * (1 + 2 * t) * (1 - t) * (1 - t);
        slopes[k] += weight * t * (1 - t) * (1 - t);
        values[k + 1] += weight * t * t * (3 - 2 * t);
        slopes[k + 1] -= weight * t * t * (1 - t);
        sum += weight;
      }
    }
    CurveCell& cell = cells[static_cast<std::size_t>(i)];
    cell.first = static_cast<std::int32_t>(first);
    cell.last = cell.first + (end > (first + 1) * step ? 2 : 1);
    for (int k = 0; k < 3; ++k) {
      cell.values[k] = static_cast<float>(values[k] / sum);
      cell.slopes[k] = static_cast<float>(slopes[k] / sum);
    }
  }
  return cells;
}

/// The curve's slope at the middle one of three pixels: as between the outer ones, within what keeps it from
/// leaving the range of neighbours; 0 at a peak.
template <typename Value>
Value slopeAt(Value before, Value at, Value after) {
  const Value in = at - before;
  const Value out = after - at;
  const Value most = 3.0f * greater(lesser(in, out), Value{});
  const Value least = 3.0f * lesser(greater(in, out), Value{});
  return lesser(greater(0.5f * (after - before), least), most);
}

/// Adds `N` weighted rows of `count` floats up, onto what `out` holds unless they are the first.
template <int N>
void addRows(const float* row, std::size_t stride, const float* weights, std::size_t count, bool first,
             float* __restrict out) {
  const auto sum = [&](std::size_t i) {
    float value = weights[0] * lightOf(row[i]);
    for (std::size_t k = 1; k < N; ++k) value += weights[k] * lightOf(row[k * stride + i]);
    return value;
  };
  if (first) {
    for (std::size_t i = 0; i < count; ++i) out[i] = sum(i);
  } else {
    for (std::size_t i = 0; i < count; ++i) out[i] += sum(i);
  }
}

void averageRows(const float* row, std::size_t stride, const float* weights, std::size_t rows, float* out) {
  constexpr std::size_t kTogether = 4;
  // So many columns at a time as the nearest cache holds.
  constexpr std::size_t kColumns = 2048;
  for (std::size_t start = 0; start < stride; start += kColumns) {
    const std::size_t count = std::min(kColumns, stride - start);
    float* const sums = out + start;
    for (std::size_t done = 0; done < rows; done += kTogether) {
      const auto add = rows - done >= kTogether ? addRows<4>
                       : rows - done == 3       ? addRows<3>
                       : rows - done == 2       ? addRows<2>
                                                : addRows<1>;
      add(row + done * stride + start, stride, weights + done, count, done == 0, sums);
    }
    for (std::size_t i = 0; i < count; ++i) sums[i] = lesser(sums[i], kMost);
  }
}

/// The curve's mean over a cell. @param at the value before the cell's first centre and the four after.
template <typename Value>
Value meanOfCurve(const CurveCell& cell, const Value at[5]) {
  const Value mean = cell.values[0] * at[1] + cell.values[1] * at[2] + cell.values[2] * at[3] +
                     cell.slopes[0] * slopeAt(at[0], at[1], at[2]) +
                     cell.slopes[1] * slopeAt(at[1], at[2], at[3]) +
                     cell.slopes[2] * slopeAt(at[2], at[3], at[4]);
  const Value last = cell.last - cell.first == 2 ? at[3] : at[2];
  return lesser(greater(mean, lesser(lesser(at[1], at[2]), last)), greater(greater(at[1], at[2]), last));
}

/// A row of the curve down the columns. @param rows as the values of `meanOfCurve`.
void drawRow(const float* const rows[5], const CurveCell& cell, std::size_t count, float* out) {
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    Quad at[5];
    for (int k = 0; k < 5; ++k) at[k] = greater(load(rows[k] + i), Quad{});
    store(out + i, meanOfCurve(cell, at));
  }
  for (; i < count; ++i) {
    float at[5];
    for (int k = 0; k < 5; ++k) at[k] = lightOf(rows[k][i]);
    out[i] = meanOfCurve(cell, at);
  }
}

/// The image's rows at another number, with its own columns.
class RowScaler {
 public:
  RowScaler(const Pixels& source, std::uint32_t height) : source_(source), stride_(3 * source.width) {
    if (height < source.height) overlaps_.emplace(RowMeasure{}, source.height, height);
    if (height <= source.height) return;
    curve_ = curveCells(RowMeasure{}, source.height, height);
    const std::int64_t rows = source.height;
    for (const std::int64_t y : {std::int64_t{-2}, std::int64_t{-1}, rows, rows + 1})
      beyond_.push_back(beyondPole(y));
  }

  void make(std::size_t y, float* out) const {
    if (!curve_.empty()) {
      const float* rows[5];
      for (int k = 0; k < 5; ++k) rows[k] = row(std::int64_t{curve_[y].first} - 1 + k);
      drawRow(rows, curve_[y], stride_, out);
    } else if (overlaps_) {
      averageRows(row(overlaps_->first(y)), stride_, overlaps_->weights(y), overlaps_->count(y), out);
    } else {
      std::transform(row(static_cast<std::int64_t>(y)), row(static_cast<std::int64_t>(y)) + stride_, out,
                     lightOf);
    }
  }

 private:
  /// Row y from -2 to two behind the last.
  const float* row(std::int64_t y) const {
    const std::int64_t rows = source_.height;
    if (y < 0) return beyond_[static_cast<std::size_t>(y + 2)].data();
    if (y >= rows) return beyond_[static_cast<std::size_t>(std::min(y - rows, std::int64_t{1}) + 2)].data();
    return source_.rgb.get() + static_cast<std::size_t>(y) * stride_;
  }

  /// A row over a pole, maybe both: down the other side. Of an odd number of columns half a turn leads
  /// between two.
  std::vector<float> beyondPole(std::int64_t y) const {
    const std::int64_t rows = source_.height;
    const std::int64_t around = (y + 2 * rows) % (2 * rows);
    const bool opposite = around >= rows;
    const float* const from =
        source_.rgb.get() + static_cast<std::size_t>(opposite ? 2 * rows - 1 - around : around) * stride_;
    std::vector<float> out(from, from + stride_);
    if (!opposite) return out;
    const std::size_t width = source_.width;
    for (std::size_t x = 0; x < width; ++x) {
      const float* const left = from + 3 * ((x + width / 2) % width);
      const float* const right = from + 3 * ((x + (width + 1) / 2) % width);
      for (std::size_t c = 0; c < 3; ++c) out[3 * x + c] = 0.5f * lightOf(left[c]) + 0.5f * lightOf(right[c]);
    }
    return out;
  }

  const Pixels& source_;
  const std::size_t stride_;
  std::optional<Overlaps> overlaps_;  // where there are fewer rows
  std::vector<CurveCell> curve_;      // where there are more
  std::vector<std::vector<float>> beyond_;
};

/// A row at another number of columns.
class ColumnScaler {
 public:
  ColumnScaler(std::uint32_t source, std::uint32_t target) : source_(source), target_(target) {
    if (target < source) overlaps_.emplace(ColumnMeasure{}, source, target);
    if (target > source) curve_ = curveCells(ColumnMeasure{}, source, target);
  }

  bool isSame() const { return source_ == target_; }

  /// @param row with `kMargin` floats of room on both sides.
  void make(float* row, float* out) const {
    if (curve_.empty()) {
      average(row, out);
    } else {
      draw(row, out);
    }
  }

 private:
  void average(const float* row, float* out) const {
    // Many are added in portions, lest the small ones drown in the sum.
    constexpr std::ptrdiff_t kPortion = 64;
    storePixels(out, target_, [&](std::size_t x) {
      const float* pixel = row + 3 * std::size_t{overlaps_->first(x)};
      const float* weight = overlaps_->weights(x);
      const std::size_t count = overlaps_->count(x);
      constexpr Quad kLimit{kMost, kMost, kMost, kMost};
      if (count == 2) return lesser(weight[0] * load(pixel) + weight[1] * load(pixel + 3), kLimit);
      const float* const end = weight + count;
      Quad sum{};
      do {
        const float* const portion = weight + std::min(kPortion, end - weight);
        Quad part{};
        for (; weight != portion; ++weight, pixel += 3) part += *weight * load(pixel);
        sum += part;
      } while (weight != end);
      return lesser(sum, kLimit);
    });
  }

  void draw(float* row, float* out) const {
    // The row goes on around the turn, also where it has one column.
    std::copy_n(row + 3 * (source_ - 1), 3, row - 3);
    std::copy_n(row + 3 * ((2 * source_ - 2) % source_), 3, row - 6);
    std::copy_n(row, 3, row + 3 * source_);
    std::copy_n(row + 3 * (1 % source_), 3, row + 3 * source_ + 3);
    const std::unique_ptr<float[]> buffer = rowBuffer(source_);
    float* const slopes = buffer.get() + kMargin;
    const auto end = static_cast<std::ptrdiff_t>(3 * source_ + 3);
    for (std::ptrdiff_t i = -3; i < end; i += 4)
      store(slopes + i, slopeAt(load(row + i - 3), load(row + i), load(row + i + 3)));

    storePixels(out, target_, [&](std::size_t x) {
      const CurveCell& cell = curve_[x];
      const std::ptrdiff_t first = 3 * std::ptrdiff_t{cell.first};
      const std::ptrdiff_t last = 3 * std::ptrdiff_t{cell.last};
      const Quad a = load(row + first);
      const Quad b = load(row + first + 3);
      const Quad c = load(row + last);
      // Of two centres the second counts as the third too, which has no weight.
      const Quad mean = cell.values[0] * a + cell.values[1] * b + cell.values[2] * c +
                        cell.slopes[0] * load(slopes + first) + cell.slopes[1] * load(slopes + first + 3) +
                        cell.slopes[2] * load(slopes + last);
      return lesser(greater(mean, lesser(lesser(a, b), c)), greater(greater(a, b), c));
    });
  }

  const std::size_t source_;
  const std::size_t target_;
  std::optional<Overlaps> overlaps_;  // where there are fewer columns
  std::vector<CurveCell> curve_;      // where there are more
};

}  // namespace

Pixels resample(const Pixels& source, std::uint32_t width, std::uint32_t height) {
  Pixels target{width, height, nullptr, nullptr};
  target.rgb = allocateFloats(3 * target.count());
  if (!target.rgb) return target;
  const RowScaler rows(source, height);
  const ColumnScaler columns(source.width, width);
  forEachImageRow(height, source.count() + target.count(), [&](std::uint32_t y) {
    float* const out = target.rgb.get() + 3 * std::size_t{width} * y;
    if (columns.isSame()) {
      rows.make(y, out);
    } else {
      const std::unique_ptr<float[]> buffer = rowBuffer(source.width);
      rows.make(y, buffer.get() + kMargin);
      columns.make(buffer.get() + kMargin, out);
    }
  });
  return target;
}

}  // namespace orv::host
