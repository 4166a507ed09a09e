#include "backgrounds/FastTransform.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace orv::hdri::blockedAVX2 {
namespace {

/// Points of a block that stays in the nearest cache, 32 KB, from one step to the next.
constexpr std::uint32_t kNearPoints = 512;

/// What a step takes for a point, by its radix, in nanoseconds of one core.
constexpr double kStepTime[] = {0, 0, 1.2, 1.6, 1.5, 2.2, 0, 0, 2.2};

// The transforms of 2, 3, 4, 5 and 8 points, in place.

inline void transform2(Complex4* z) {
  const Complex4 sum = z[0] + z[1];
  z[1] = z[0] - z[1];
  z[0] = sum;
}

inline void transform3(Complex4* z) {
  const Complex4 sum = z[1] + z[2];
  const Complex4 middle = z[0] - splat(0.5) * sum;
  const Complex4 side = splat(0.5 * std::numbers::sqrt3) * (z[1] - z[2]);
  z[0] = z[0] + sum;
  z[1] = plusTurned(middle, side);
  z[2] = minusTurned(middle, side);
}

inline void transform4(Complex4* z) {
  const Complex4 even = z[0] + z[2], evenDifference = z[0] - z[2];
  const Complex4 odd = z[1] + z[3], oddDifference = z[1] - z[3];
  z[0] = even + odd;
  z[1] = plusTurned(evenDifference, oddDifference);
  z[2] = even - odd;
  z[3] = minusTurned(evenDifference, oddDifference);
}

inline void transform5(Complex4* z) {
  const Double4 cos1 = splat(0.30901699437494742), cos2 = splat(-0.80901699437494742);
  const Double4 sin1 = splat(0.95105651629515357), sin2 = splat(0.58778525229247313);
  const Complex4 sum14 = z[1] + z[4], sum23 = z[2] + z[3];
  const Complex4 difference14 = z[1] - z[4], difference23 = z[2] - z[3];
  const Complex4 middle1 = z[0] + cos1 * sum14 + cos2 * sum23;
  const Complex4 middle2 = z[0] + cos2 * sum14 + cos1 * sum23;
  const Complex4 side1 = sin1 * difference14 + sin2 * difference23;
  const Complex4 side2 = sin2 * difference14 - sin1 * difference23;
  z[0] = z[0] + sum14 + sum23;
  z[1] = plusTurned(middle1, side1);
  z[4] = minusTurned(middle1, side1);
  z[2] = plusTurned(middle2, side2);
  z[3] = minusTurned(middle2, side2);
}

inline void transform8(Complex4* z) {
  Complex4 even[4] = {z[0] + z[4], z[1] + z[5], z[2] + z[6], z[3] + z[7]};
  const Double4 root = splat(0.5 * std::numbers::sqrt2);
  const Complex4 d0 = z[0] - z[4], d1 = z[1] - z[5], d2 = z[2] - z[6], d3 = z[3] - z[7];
  // d1 exp(-i pi / 4) and d3 exp(-3 i pi / 4)
  Complex4 odd[4] = {d0, root * plusTurned(d1, d1), turned(d2), root * (turned(d3) - d3)};
  transform4(even);
  transform4(odd);
  for (int k = 0; k < 4; ++k) {
    z[2 * k] = even[k];
    z[2 * k + 1] = odd[k];
  }
}

template <std::uint32_t radix>
inline void transformPoints(Complex4* z) {
  if constexpr (radix == 2) transform2(z);
  if constexpr (radix == 3) transform3(z);
  if constexpr (radix == 4) transform4(z);
  if constexpr (radix == 5) transform5(z);
  if constexpr (radix == 8) transform8(z);
}

/// A block of `radix` times `next` points is taken apart.
template <std::uint32_t radix>
void stepForward(Complex4* block, std::size_t next, const Root* twiddles) {
  for (std::size_t p = 0; p < next; ++p, twiddles += radix - 1) {
    Complex4 z[radix];
    for (std::size_t k = 0; k < radix; ++k) z[k] = block[p + next * k];
    transformPoints<radix>(z);
    block[p] = z[0];
    for (std::size_t k = 1; k < radix; ++k) block[p + next * k] = z[k] * splat(twiddles[k - 1]);
  }
}

/// `stepForward` undone, but for a factor of `radix`.
template <std::uint32_t radix>
void stepBack(Complex4* block, std::size_t next, const Root* twiddles) {
  for (std::size_t p = 0; p < next; ++p, twiddles += radix - 1) {
    Complex4 z[radix];
    z[0] = exchanged(block[p]);
    for (std::size_t k = 1; k < radix; ++k) z[k] = exchanged(block[p + next * k]) * splat(twiddles[k - 1]);
    transformPoints<radix>(z);
    for (std::size_t k = 0; k < radix; ++k) block[p + next * k] = exchanged(z[k]);
  }
}

/// The last step forward, whose blocks are single points, the product with the spectrum, and the first step
/// back, for `count` blocks.
template <std::uint32_t radix>
void stepThrough(Complex4* block, std::size_t count, const double* spectrum) {
  for (std::size_t i = 0; i < count; ++i, block += radix, spectrum += radix) {
    Complex4 z[radix];
    for (std::size_t k = 0; k < radix; ++k) z[k] = block[k];
    transformPoints<radix>(z);
    for (std::size_t k = 0; k < radix; ++k) z[k] = exchanged(splat(spectrum[k]) * z[k]);
    transformPoints<radix>(z);
    for (std::size_t k = 0; k < radix; ++k) block[k] = exchanged(z[k]);
  }
}

/// Calls `work` with the radix as a template argument.
template <typename Work>
inline void withRadix(std::uint32_t radix, const Work& work) {
  switch (radix) {
    case 2:
      return work.template operator()<2>();
    case 3:
      return work.template operator()<3>();
    case 4:
      return work.template operator()<4>();
    case 5:
      return work.template operator()<5>();
    default:
      return work.template operator()<8>();
  }
}

/// The radices of a product of 2, 3 and 5 in the order of the steps: few and large ones while blocks are
/// large, fours at the end. Empty for 1 and for other lengths.
std::vector<std::uint32_t> radicesOf(std::uint32_t length) {
  std::uint32_t twos = 0, threes = 0, fives = 0;
  for (; length % 2 == 0; length /= 2) ++twos;
  for (; length % 3 == 0; length /= 3) ++threes;
  for (; length % 5 == 0; length /= 5) ++fives;
  if (length != 1) return {};
  std::vector<std::uint32_t> radices;
  if (twos % 2 == 1 && twos >= 3) {
    radices.push_back(8);
    twos -= 3;
  }
  radices.insert(radices.end(), fives, 5);
  radices.insert(radices.end(), threes, 3);
  if (twos % 2 == 1) radices.push_back(2);
  radices.insert(radices.end(), twos / 2, 4);
  return radices;
}

}  // namespace

bool FastTransform::fits(std::uint32_t length) {
  for (const std::uint32_t prime : {2u, 3u, 5u})
    for (; length % prime == 0; length /= prime) {
    }
  return length == 1;
}

std::uint32_t FastTransform::lengthFor(std::uint32_t least) {
  std::uint32_t best = 0;
  double bestTime = std::numeric_limits<double>::infinity();
  // A power of two is among them.
  for (std::uint64_t length = least; length < 2 * std::uint64_t{least}; ++length) {
    if (!fits(static_cast<std::uint32_t>(length))) continue;
    double steps = 0;
    for (const std::uint32_t radix : radicesOf(static_cast<std::uint32_t>(length))) steps += kStepTime[radix];
    const double time = static_cast<double>(length) * steps;
    if (time < bestTime) {
      best = static_cast<std::uint32_t>(length);
      bestTime = time;
    }
  }
  return best;
}

FastTransform::FastTransform(std::uint32_t length) : length_(length) {
  for (const std::uint32_t radix : radicesOf(length)) {
    Level level{radix, length, length / radix, {}};
    level.twiddles.reserve(std::size_t{level.next} * (radix - 1));
    for (std::uint32_t p = 0; p < level.next; ++p)
      for (std::uint32_t k = 1; k < radix; ++k) {
        const double angle = -2.0 * std::numbers::pi * static_cast<double>(std::uint64_t{p} * k) / length;
        level.twiddles.push_back({std::cos(angle), std::sin(angle)});
      }
    length = level.next;
    levels_.push_back(std::move(level));
  }
}

std::uint32_t FastTransform::slot(std::uint32_t m) const {
  std::uint32_t slot = 0;
  for (const Level& level : levels_) {
    slot += m % level.radix * level.next;
    m /= level.radix;
  }
  return slot;
}

void FastTransform::forwardStep(const Level& level, Complex4* z, std::size_t points) {
  withRadix(level.radix, [&]<std::uint32_t radix> {
    for (std::size_t i = 0; i < points; i += level.length)
      stepForward<radix>(z + i, level.next, level.twiddles.data());
  });
}

void FastTransform::backStep(const Level& level, Complex4* z, std::size_t points) {
  withRadix(level.radix, [&]<std::uint32_t radix> {
    for (std::size_t i = 0; i < points; i += level.length)
      stepBack<radix>(z + i, level.next, level.twiddles.data());
  });
}

bool FastTransform::isFar(std::size_t level) const {
  return levels_[level].length > kNearPoints && level + 1 < levels_.size();
}

void FastTransform::forward(Complex4* z) const {
  if (!levels_.empty()) forwardFrom(0, z);
}

void FastTransform::back(Complex4* z) const {
  if (!levels_.empty()) backFrom(0, z);
}

void FastTransform::filter(Complex4* z, const double* spectrum) const {
  if (levels_.empty()) {
    z[0] = splat(spectrum[0]) * z[0];
  } else {
    filterFrom(0, z, spectrum);
  }
}

void FastTransform::forwardFrom(std::size_t first, Complex4* z) const {
  const Level& top = levels_[first];
  if (isFar(first)) {
    forwardStep(top, z, top.length);
    for (std::uint32_t i = 0; i < top.length; i += top.next) forwardFrom(first + 1, z + i);
    return;
  }
  for (std::size_t i = first; i < levels_.size(); ++i) forwardStep(levels_[i], z, top.length);
}

void FastTransform::backFrom(std::size_t first, Complex4* z) const {
  const Level& top = levels_[first];
  if (isFar(first)) {
    for (std::uint32_t i = 0; i < top.length; i += top.next) backFrom(first + 1, z + i);
    backStep(top, z, top.length);
    return;
  }
  for (std::size_t i = levels_.size(); i-- > first;) backStep(levels_[i], z, top.length);
}

void FastTransform::filterFrom(std::size_t first, Complex4* z, const double* spectrum) const {
  const Level& top = levels_[first];
  if (isFar(first)) {
    forwardStep(top, z, top.length);
    for (std::uint32_t i = 0; i < top.length; i += top.next) filterFrom(first + 1, z + i, spectrum + i);
    backStep(top, z, top.length);
    return;
  }
  const std::size_t last = levels_.size() - 1;
  for (std::size_t i = first; i < last; ++i) forwardStep(levels_[i], z, top.length);
  withRadix(levels_[last].radix,
            [&]<std::uint32_t radix> { stepThrough<radix>(z, top.length / radix, spectrum); });
  for (std::size_t i = last; i-- > first;) backStep(levels_[i], z, top.length);
}

}  // namespace orv::hdri::blockedAVX2
