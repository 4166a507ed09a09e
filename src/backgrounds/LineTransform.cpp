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

/// One step of a transform that sorts itself (Stockham; Van Loan, Computational Frameworks for the Fast
/// Fourier Transform, 1.7): `stride` transforms of `count` points side by side become `radix` times as many
/// of `count / radix` points. Root j of `count` is roots[j * rootStep].
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

/// With real and imaginary parts exchanged, the transform forward is the one back.
inline Complex4 exchanged(const Complex4& z) { return {z.im, z.re}; }

}  // namespace

LineTransform::Parts LineTransform::partsFor(std::uint32_t length, std::uint32_t highest) {
  Parts parts;
  // The shortest part that holds the frequencies, else the longest there is.
  for (std::uint32_t divisor = 1; divisor <= length; ++divisor) {
    if (length % divisor != 0) continue;
    std::vector<std::uint32_t> radices = radicesOf(divisor);
    if (!radices.empty() && radices[0] == 0) continue;
    parts.length = divisor;
    parts.radices = std::move(radices);
    if (divisor > 2 * std::uint64_t{highest}) break;
  }
  parts.count = length / parts.length;
  for (std::uint32_t j = 0; j < length; ++j) {
    const double angle = -2.0 * std::numbers::pi * j / length;
    parts.roots.push_back({std::cos(angle), std::sin(angle)});
  }
  return parts;
}

LineTransform::LineTransform(std::uint32_t length, std::uint32_t highest)
    : length_(length), highest_(highest), parts_(partsFor(length, highest)) {
  // Parts cost their count times the frequencies, a convolution some 64 lengths.
  chirped_ = 2 * std::uint64_t{highest} + 1 > std::uint64_t{64} * parts_.length;
  // Parts that are powers of two apart would fall on the same cache sets.
  partStride_ = parts_.length + std::size_t{1};
  for (std::uint32_t x = 0; x < length; ++x)
    slots_.push_back(
        chirped_ ? x : static_cast<std::uint32_t>(x % parts_.count * partStride_ + x / parts_.count));
  if (chirped_) makeChirp();
}

LineTransform::Scratch::Scratch(const LineTransform& transform)
    : points(transform.chirped_ ? transform.length_ : transform.parts_.count * transform.partStride_),
      positive(transform.highest_ + std::size_t{1}),
      negative(transform.highest_ + std::size_t{1}),
      part{AlignedArray<Complex4>(transform.parts_.length), AlignedArray<Complex4>(transform.parts_.length)},
      chirped(transform.chirped_ ? transform.parts_.length : 0) {}

inline Complex4 LineTransform::splatted(const Root& root) { return {splat(root.re), splat(root.im)}; }

const Complex4* LineTransform::transformPart(const Parts& parts, const Complex4* from, Scratch& scratch) {
  std::size_t count = parts.length, stride = 1, target = 0;
  const std::size_t length = parts.roots.size();
  for (const std::uint32_t radix : parts.radices) {
    Complex4* to = scratch.part[target].data();
    const std::size_t rootStep = length / count;
    if (radix == 2) step<2>(from, to, count, stride, parts.roots.data(), rootStep);
    if (radix == 3) step<3>(from, to, count, stride, parts.roots.data(), rootStep);
    if (radix == 4) step<4>(from, to, count, stride, parts.roots.data(), rootStep);
    if (radix == 5) step<5>(from, to, count, stride, parts.roots.data(), rootStep);
    count /= radix;
    stride *= radix;
    from = to;
    target = 1 - target;
  }
  return from;
}

void LineTransform::forward(Scratch& scratch) const {
  if (chirped_) {
    forwardByChirp(scratch);
  } else {
    forwardByParts(scratch);
  }
}

void LineTransform::back(Scratch& scratch) const { chirped_ ? backByChirp(scratch) : backByParts(scratch); }

void LineTransform::forwardByParts(Scratch& scratch) const {
  for (std::uint32_t a = 0; a < parts_.count; ++a) {
    const Complex4* part = transformPart(parts_, scratch.points.data() + a * partStride_, scratch);
    std::uint32_t bin = 0, turn = 0;  // m mod the part's length, m a mod length
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4 &up = part[bin], &down = part[bin == 0 ? 0 : parts_.length - bin];
      if (a == 0) {
        scratch.positive[m] = {up.re, up.im};
        scratch.negative[m] = {down.re, down.im};
      } else {
        const Complex4 twiddle = splatted(parts_.roots[turn]);
        scratch.positive[m] = fma(scratch.positive[m], twiddle, up);
        scratch.negative[m] = fma(scratch.negative[m], conjugate(twiddle), down);
      }
      if (++bin == parts_.length) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
  }
}

void LineTransform::backByParts(Scratch& scratch) const {
  for (std::uint32_t a = 0; a < parts_.count; ++a) {
    Complex4* input = scratch.points.data() + a * partStride_;
    std::fill_n(input, parts_.length, Complex4{zero4(), zero4()});
    std::uint32_t bin = 0, turn = 0;
    for (std::uint32_t m = 0; m <= highest_; ++m) {
      const Complex4 twiddle = splatted(parts_.roots[turn]);
      input[bin] = fma(input[bin], twiddle, exchanged(scratch.positive[m]));
      Complex4& down = input[bin == 0 ? 0 : parts_.length - bin];
      if (m != 0 && 2 * std::uint64_t{m} != length_)
        down = fma(down, conjugate(twiddle), exchanged(scratch.negative[m]));
      if (++bin == parts_.length) bin = 0;
      turn = turn >= length_ - a ? turn - (length_ - a) : turn + a;
    }
    const Complex4* part = transformPart(parts_, input, scratch);
    for (std::uint32_t k = 0; k < parts_.length; ++k) input[k] = exchanged(part[k]);
  }
}

void LineTransform::makeChirp() {
  // m x = (m^2 + x^2 - (m - x)^2) / 2: with c(k) = exp(-pi i k^2 / length) the transform is
  //   Z(m) = c(m) sum over x of (c(x) z(x)) conj(c(m - x)),
  // a convolution whose period holds m - x = -(highest + length - 1) ... highest.
  for (std::uint32_t j = 0; j < 2 * std::uint64_t{length_}; ++j) {
    const double angle = -std::numbers::pi * j / length_;
    chirp_.push_back({std::cos(angle), std::sin(angle)});
  }
  std::uint32_t period = 1;
  while (period < length_ + 2 * std::uint64_t{highest_}) period *= 2;
  parts_ = partsFor(period, period / 2);

  Scratch scratch(*this);
  std::fill_n(scratch.chirped.data(), period, Complex4{zero4(), zero4()});
  for (std::uint32_t k = 0; k < length_ + highest_; ++k) {
    const Complex4 value = conjugate(chirp(k));
    if (k <= highest_) scratch.chirped[k] = value;
    if (k > 0) scratch.chirped[period - k] = value;
  }
  const Complex4* spectrum = transformPart(parts_, scratch.chirped.data(), scratch);
  for (std::uint32_t j = 0; j < period; ++j) {
    alignas(32) double re[4], im[4];
    store(re, spectrum[j].re);
    store(im, spectrum[j].im);
    chirpSpectrum_.push_back({re[0] / period, im[0] / period});
  }
}

inline Complex4 LineTransform::chirp(std::uint64_t k) const {
  // Lines have at least one value. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
  return splatted(chirp_[k * k % (2 * std::uint64_t{length_})]);
}

/// `scratch.chirped` convolved with the chirp; @return the result with real and imaginary parts exchanged.
const Complex4* LineTransform::convolve(Scratch& scratch) const {
  const Complex4* spectrum = transformPart(parts_, scratch.chirped.data(), scratch);
  for (std::uint32_t j = 0; j < parts_.length; ++j)
    scratch.chirped[j] = exchanged(splatted(chirpSpectrum_[j]) * spectrum[j]);
  return transformPart(parts_, scratch.chirped.data(), scratch);
}

void LineTransform::forwardByChirp(Scratch& scratch) const {
  const std::uint32_t period = parts_.length;
  for (std::uint32_t x = 0; x < length_; ++x) scratch.chirped[x] = chirp(x) * scratch.points[x];
  std::fill_n(scratch.chirped.data() + length_, period - length_, Complex4{zero4(), zero4()});
  const Complex4* result = convolve(scratch);
  for (std::uint32_t m = 0; m <= highest_; ++m) {
    scratch.positive[m] = chirp(m) * exchanged(result[m]);
    scratch.negative[m] = chirp(m) * exchanged(result[m == 0 ? 0 : period - m]);
  }
}

void LineTransform::backByChirp(Scratch& scratch) const {
  // Frequencies at -m and points at -x, so that the chirp is met at m - x again.
  const std::uint32_t period = parts_.length;
  std::fill_n(scratch.chirped.data(), period, Complex4{zero4(), zero4()});
  for (std::uint32_t m = 0; m <= highest_; ++m) {
    scratch.chirped[m == 0 ? 0 : period - m] = chirp(m) * exchanged(scratch.positive[m]);
    if (m != 0 && 2 * std::uint64_t{m} != length_)
      scratch.chirped[m] = chirp(m) * exchanged(scratch.negative[m]);
  }
  const Complex4* result = convolve(scratch);
  for (std::uint32_t x = 0; x < length_; ++x)
    scratch.points[x] = exchanged(chirp(x) * exchanged(result[x == 0 ? 0 : period - x]));
}

}  // namespace orv::hdri::blockedAVX2
