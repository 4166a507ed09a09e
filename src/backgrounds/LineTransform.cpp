#include "backgrounds/LineTransform.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::hdri::blockedAVX2 {

std::uint32_t LineTransform::partLengthFor(std::uint32_t length, std::uint32_t highest) {
  // The shortest part that holds the frequencies, else the longest there is.
  std::uint32_t part = 1;
  for (std::uint32_t divisor = 1; divisor <= length && part <= 2 * std::uint64_t{highest}; ++divisor)
    if (length % divisor == 0 && FastTransform::fits(divisor)) part = divisor;
  // Parts cost their count times the frequencies, a convolution some 64 lengths.
  return 2 * std::uint64_t{highest} + 1 > std::uint64_t{64} * part ? 0 : part;
}

namespace {

/// A period that holds the chirp at m - x = -(highest + length - 1) ... highest.
std::uint32_t chirpPeriod(std::uint32_t length, std::uint32_t highest) {
  return FastTransform::lengthFor(length + 2 * highest);
}

}  // namespace

LineTransform::LineTransform(std::uint32_t length, std::uint32_t highest)
    : length_(length),
      highest_(highest),
      part_(partLengthFor(length, highest) > 0 ? partLengthFor(length, highest)
                                               : chirpPeriod(length, highest)) {
  for (std::uint32_t bin = 0; bin < part_.length(); ++bin) partSlots_.push_back(part_.slot(bin));
  if (partLengthFor(length, highest) == 0) {
    for (std::uint32_t x = 0; x < length; ++x) slots_.push_back(x);
    makeChirp();
    return;
  }
  parts_ = length / std::max(part_.length(), 1u);  // a part has a point at least
  // Parts that are powers of two apart would fall on the same cache sets.
  partStride_ = part_.length() + std::size_t{1};
  for (std::uint32_t x = 0; x < length; ++x)
    slots_.push_back(static_cast<std::uint32_t>(x % parts_ * partStride_ + x / parts_));
  for (std::uint32_t j = 0; j < length; ++j) {
    const double angle = -2.0 * std::numbers::pi * j / length;
    roots_.push_back({std::cos(angle), std::sin(angle)});
  }
}

LineTransform::Scratch::Scratch(const LineTransform& transform)
    : points(transform.parts_ > 0 ? transform.parts_ * transform.partStride_ : transform.length_),
      positive(transform.highest_ + std::size_t{1}),
      negative(transform.highest_ + std::size_t{1}),
      chirped(transform.parts_ > 0 ? 0 : transform.part_.length()) {}

void LineTransform::forward(Scratch& scratch) const {
  parts_ > 0 ? forwardByParts(scratch) : forwardByChirp(scratch);
}

void LineTransform::back(Scratch& scratch) const { parts_ > 0 ? backByParts(scratch) : backByChirp(scratch); }

void LineTransform::forwardByParts(Scratch& scratch) const {
  const std::uint32_t partLength = part_.length();
  for (std::uint32_t a = 0; a < parts_; ++a) {
    Complex4* const part = scratch.points.data() + a * partStride_;
    part_.forward(part);
    std::uint32_t bin = 0, turn = 0;  // m mod the part's length, m a mod length
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4& up = part[partSlots_[bin]];
      const Complex4& down = part[partSlots_[bin == 0 ? 0 : partLength - bin]];
      if (a == 0) {
        scratch.positive[m] = up;
        scratch.negative[m] = down;
      } else {
        const Complex4 twiddle = splat(roots_[turn]);
        scratch.positive[m] = fma(scratch.positive[m], twiddle, up);
        scratch.negative[m] = fma(scratch.negative[m], conjugate(twiddle), down);
      }
      if (++bin == partLength) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
  }
}

void LineTransform::backByParts(Scratch& scratch) const {
  const std::uint32_t partLength = part_.length();
  for (std::uint32_t a = 0; a < parts_; ++a) {
    Complex4* const part = scratch.points.data() + a * partStride_;
    std::fill_n(part, partLength, Complex4{zero4(), zero4()});
    std::uint32_t bin = 0, turn = 0;
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4 twiddle = splat(roots_[turn]);
      Complex4& up = part[partSlots_[bin]];
      up = fma(up, conjugate(twiddle), scratch.positive[m]);
      Complex4& down = part[partSlots_[bin == 0 ? 0 : partLength - bin]];
      if (m != 0 && 2 * std::uint64_t{m} != length_) down = fma(down, twiddle, scratch.negative[m]);
      if (++bin == partLength) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
    part_.back(part);
  }
}

void LineTransform::makeChirp() {
  // m x = (m^2 + x^2 - (m - x)^2) / 2: with c(k) = exp(-pi i k^2 / length) the transform is
  //   Z(m) = c(m) sum over x of (c(x) z(x)) conj(c(m - x)).
  for (std::uint32_t j = 0; j < 2 * std::uint64_t{length_}; ++j) {
    const double angle = -std::numbers::pi * j / length_;
    chirp_.push_back({std::cos(angle), std::sin(angle)});
  }
  const std::uint32_t period = part_.length();
  Scratch scratch(*this);
  Complex4* const points = scratch.chirped.data();
  std::fill_n(points, period, Complex4{zero4(), zero4()});
  for (std::uint32_t k = 0; k < length_ + highest_; ++k) {
    const Complex4 value = conjugate(chirp(k));
    if (k <= highest_) points[k] = value;
    if (k > 0) points[period - k] = value;
  }
  part_.forward(points);
  for (std::uint32_t j = 0; j < period; ++j) {
    alignas(32) double re[4], im[4];
    store(re, points[j].re);
    store(im, points[j].im);
    chirpSpectrum_.push_back({re[0] / period, im[0] / period});
  }
}

inline Complex4 LineTransform::chirp(std::uint64_t k) const {
  // Lines have at least one value. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
  return splat(chirp_[k * k % (2 * std::uint64_t{length_})]);
}

/// `scratch.chirped` convolved with the chirp.
void LineTransform::convolve(Scratch& scratch) const {
  Complex4* const points = scratch.chirped.data();
  part_.forward(points);
  for (std::uint32_t j = 0; j < part_.length(); ++j) points[j] = splat(chirpSpectrum_[j]) * points[j];
  part_.back(points);
}

void LineTransform::forwardByChirp(Scratch& scratch) const {
  const std::uint32_t period = part_.length();
  Complex4* const chirped = scratch.chirped.data();
  for (std::uint32_t x = 0; x < length_; ++x) chirped[x] = chirp(x) * scratch.points[x];
  std::fill_n(chirped + length_, period - length_, Complex4{zero4(), zero4()});
  convolve(scratch);
  for (std::uint32_t m = 0; m <= highest_; ++m) {
    scratch.positive[m] = chirp(m) * chirped[m];
    scratch.negative[m] = chirp(m) * chirped[m == 0 ? 0 : period - m];
  }
}

void LineTransform::backByChirp(Scratch& scratch) const {
  // The conjugate of the conjugate's transform: frequencies at -m and points at -x, so that the chirp is met
  // at m - x again.
  const std::uint32_t period = part_.length();
  Complex4* const chirped = scratch.chirped.data();
  std::fill_n(chirped, period, Complex4{zero4(), zero4()});
  for (std::uint32_t m = 0; m <= highest_; ++m) {
    chirped[m == 0 ? 0 : period - m] = chirp(m) * exchanged(scratch.positive[m]);
    if (m != 0 && 2 * std::uint64_t{m} != length_) chirped[m] = chirp(m) * exchanged(scratch.negative[m]);
  }
  convolve(scratch);
  for (std::uint32_t x = 0; x < length_; ++x)
    scratch.points[x] = exchanged(chirp(x) * chirped[x == 0 ? 0 : period - x]);
}

}  // namespace orv::hdri::blockedAVX2
