#include "backgrounds/LineTransform.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::hdri::blockedAVX2 {
namespace {

inline Complex4 operator+(Complex4 a, Complex4 b) { return {a.re + b.re, a.im + b.im}; }
inline Complex4 operator-(Complex4 a, Complex4 b) { return {a.re - b.re, a.im - b.im}; }
inline Complex4 operator*(Double4 a, Complex4 b) { return {a * b.re, a * b.im}; }
inline Complex4 operator*(Complex4 a, Complex4 b) {
  return {fms(a.re, b.re, a.im * b.im), fma(a.re, b.im, a.im * b.re)};
}
/// a + b c
inline Complex4 fma(Complex4 a, Complex4 b, Complex4 c) {
  return {fnma(b.im, c.im, fma(b.re, c.re, a.re)), fma(b.im, c.re, fma(b.re, c.im, a.im))};
}
/// -i a
inline Complex4 turned(Complex4 a) { return {a.im, zero4() - a.re}; }
inline Complex4 conjugate(Complex4 a) { return {a.re, zero4() - a.im}; }

/// The transforms of 2, 3, 4 and 5 points, in place.
inline void transform2(Complex4* z) {
  const Complex4 sum = z[0] + z[1];
  z[1] = z[0] - z[1];
  z[0] = sum;
}

inline void transform3(Complex4* z) {
  const Double4 half = splat(0.5), sine = splat(0.5 * std::numbers::sqrt3);
  const Complex4 sum = z[1] + z[2];
  const Complex4 middle = z[0] - half * sum;
  const Complex4 side = turned(sine * (z[1] - z[2]));
  z[0] = z[0] + sum;
  z[1] = middle + side;
  z[2] = middle - side;
}

inline void transform4(Complex4* z) {
  const Complex4 even = z[0] + z[2], evenDifference = z[0] - z[2];
  const Complex4 odd = z[1] + z[3], oddTurned = turned(z[1] - z[3]);
  z[0] = even + odd;
  z[1] = evenDifference + oddTurned;
  z[2] = even - odd;
  z[3] = evenDifference - oddTurned;
}

inline void transform5(Complex4* z) {
  const Double4 cos1 = splat(0.30901699437494742), cos2 = splat(-0.80901699437494742);
  const Double4 sin1 = splat(0.95105651629515357), sin2 = splat(0.58778525229247313);
  const Complex4 sum14 = z[1] + z[4], sum23 = z[2] + z[3];
  const Complex4 difference14 = z[1] - z[4], difference23 = z[2] - z[3];
  const Complex4 middle1 = z[0] + cos1 * sum14 + cos2 * sum23;
  const Complex4 middle2 = z[0] + cos2 * sum14 + cos1 * sum23;
  const Complex4 side1 = turned(sin1 * difference14 + sin2 * difference23);
  const Complex4 side2 = turned(sin2 * difference14 - sin1 * difference23);
  z[0] = z[0] + sum14 + sum23;
  z[1] = middle1 + side1;
  z[4] = middle1 - side1;
  z[2] = middle2 + side2;
  z[3] = middle2 - side2;
}

template <std::uint32_t radix>
inline void transformPoints(Complex4* z) {
  if constexpr (radix == 2) transform2(z);
  if constexpr (radix == 3) transform3(z);
  if constexpr (radix == 4) transform4(z);
  if constexpr (radix == 5) transform5(z);
}

/// One step of a transform that sorts itself (Stockham; Van Loan, Computational Frameworks for the Fast Fourier
/// Transform, 1.7): `stride` transforms of `count` points side by side become `radix` times as many of
/// `count / radix` points. Root j of `count` is roots[j * rootStep].
template <std::uint32_t radix, typename Root>
void step(const Complex4* from, Complex4* to, std::size_t count, std::size_t stride, const Root* roots,
          std::size_t rootStep) {
  const std::size_t next = count / radix;
  for (std::size_t p = 0; p < next; ++p) {
    Complex4 twiddles[radix];
    for (std::size_t k = 1; k < radix; ++k) {
      const Root& root = roots[p * k * rootStep];
      twiddles[k] = {splat(root.re), splat(root.im)};
    }
    for (std::size_t q = 0; q < stride; ++q) {
      Complex4 z[radix];
      for (std::size_t k = 0; k < radix; ++k) z[k] = from[q + stride * (p + next * k)];
      transformPoints<radix>(z);
      Complex4* out = to + q + stride * radix * p;
      out[0] = z[0];
      for (std::size_t k = 1; k < radix; ++k) out[stride * k] = z[k] * twiddles[k];
    }
  }
}

/// The radices of a product of 2, 3 and 5, empty for 1; {0} for any other length.
std::vector<std::uint32_t> radicesOf(std::uint32_t length) {
  std::vector<std::uint32_t> radices;
  for (const std::uint32_t radix : {4u, 2u, 3u, 5u})
    for (; length % radix == 0; length /= radix) radices.push_back(radix);
  return length == 1 ? radices : std::vector<std::uint32_t>{0};
}

}  // namespace

LineTransform::LineTransform(std::uint32_t length, std::uint32_t highest)
    : length_(length), highest_(highest), roots_(length) {
  // The shortest part that holds the frequencies, else the longest there is.
  for (std::uint32_t divisor = 1; divisor <= length; ++divisor) {
    if (length % divisor != 0) continue;
    std::vector<std::uint32_t> radices = radicesOf(divisor);
    if (!radices.empty() && radices[0] == 0) continue;
    partLength_ = divisor;
    radices_ = std::move(radices);
    if (divisor > 2 * std::uint64_t{highest}) break;
  }
  parts_ = length / partLength_;
  for (std::uint32_t j = 0; j < length; ++j) {
    const double angle = -2.0 * std::numbers::pi * j / length;
    roots_[j] = {std::cos(angle), std::sin(angle)};
  }
}

LineTransform::Scratch::Scratch(const LineTransform& transform)
    : points(transform.length_),
      positive(transform.highest_ + std::size_t{1}),
      negative(transform.highest_ + std::size_t{1}),
      part{AlignedArray<Complex4>(transform.partLength_), AlignedArray<Complex4>(transform.partLength_)} {}

const Complex4* LineTransform::transformPart(const Complex4* from, Scratch& scratch) const {
  std::size_t count = partLength_, stride = 1, target = 0;
  for (const std::uint32_t radix : radices_) {
    Complex4* to = scratch.part[target].data();
    const std::size_t rootStep = length_ / count;
    if (radix == 2) step<2>(from, to, count, stride, roots_.data(), rootStep);
    if (radix == 3) step<3>(from, to, count, stride, roots_.data(), rootStep);
    if (radix == 4) step<4>(from, to, count, stride, roots_.data(), rootStep);
    if (radix == 5) step<5>(from, to, count, stride, roots_.data(), rootStep);
    count /= radix;
    stride *= radix;
    from = to;
    target = 1 - target;
  }
  return from;
}

void LineTransform::forward(Scratch& scratch) const {
  for (std::uint32_t a = 0; a < parts_; ++a) {
    const Complex4* part =
        transformPart(scratch.points.data() + std::size_t{a} * partLength_, scratch);
    std::uint32_t bin = 0, turn = 0;  // m mod partLength, m a mod length
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4 up = part[bin], down = part[bin == 0 ? 0 : partLength_ - bin];
      if (a == 0) {
        scratch.positive[m] = up;
        scratch.negative[m] = down;
      } else {
        const Complex4 twiddle{splat(roots_[turn].re), splat(roots_[turn].im)};
        scratch.positive[m] = fma(scratch.positive[m], twiddle, up);
        scratch.negative[m] = fma(scratch.negative[m], conjugate(twiddle), down);
      }
      if (++bin == partLength_) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
  }
}

void LineTransform::back(Scratch& scratch) const {
  // With real and imaginary parts exchanged, the transform forward is the one back.
  const auto exchanged = [](Complex4 z) { return Complex4{z.im, z.re}; };
  for (std::uint32_t a = 0; a < parts_; ++a) {
    Complex4* input = scratch.points.data() + std::size_t{a} * partLength_;
    std::fill_n(input, partLength_, Complex4{zero4(), zero4()});
    std::uint32_t bin = 0, turn = 0;
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4 twiddle{splat(roots_[turn].re), splat(roots_[turn].im)};
      input[bin] = fma(input[bin], twiddle, exchanged(scratch.positive[m]));
      Complex4& down = input[bin == 0 ? 0 : partLength_ - bin];
      if (m != 0 && 2 * std::uint64_t{m} != length_)
        down = fma(down, conjugate(twiddle), exchanged(scratch.negative[m]));
      if (++bin == partLength_) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
    const Complex4* part = transformPart(input, scratch);
    for (std::uint32_t k = 0; k < partLength_; ++k) input[k] = exchanged(part[k]);
  }
}

}  // namespace orv::hdri::blockedAVX2
