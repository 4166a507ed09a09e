#include "backgrounds/FastTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <vector>

#include "backgrounds/lanes.h"
#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Every radix alone and with others, blocks that fit the nearest cache and such that do not.
constexpr std::uint32_t kLengths[] = {1,  2,  3,   4,   5,   6,   8,   9,   16,   20,   25,
                                      27, 32, 120, 125, 128, 243, 512, 640, 1024, 1536, 2000};

AlignedArray<Complex4> samples(std::uint32_t length) {
  AlignedArray<Complex4> z(length);
  for (std::uint32_t x = 0; x < length; ++x) z[x] = sample(x);
  return z;
}

/// Some frequencies of a length, the ends and the middle among them.
std::set<std::uint32_t> someOf(std::uint32_t length) {
  std::set<std::uint32_t> some;
  for (std::uint32_t m = 0; m < length; m += 1 + length / 37) some.insert(m);
  some.insert({length / 2, length - 1});
  return some;
}

TEST(FastTransform, ForwardIsTheFourierSum) {
  for (const std::uint32_t length : kLengths) {
    const FastTransform transform(length);
    AlignedArray<Complex4> z = samples(length);
    transform.forward(z.data());
    double worst = 0;
    for (const std::uint32_t m : someOf(length))
      for (std::size_t i = 0; i < 4; ++i) {
        Complex expected = 0;
        for (std::uint32_t x = 0; x < length; ++x)
          expected += lane(sample(x), i) * std::conj(rootOf(std::uint64_t{m} * x, length));
        worst = std::max(worst, std::abs(lane(z[transform.slot(m)], i) - expected));
      }
    EXPECT_LT(worst, 1e-15 * (length + 4)) << length;
  }
}

TEST(FastTransform, EveryFrequencyHasASlotOfItsOwn) {
  for (const std::uint32_t length : kLengths) {
    const FastTransform transform(length);
    std::set<std::uint32_t> slots;
    for (std::uint32_t m = 0; m < length; ++m) slots.insert(transform.slot(m));
    EXPECT_EQ(slots.size(), length);
    EXPECT_EQ(*slots.rbegin(), length - 1);
  }
}

TEST(FastTransform, BackUndoesForward) {
  for (const std::uint32_t length : kLengths) {
    const FastTransform transform(length);
    AlignedArray<Complex4> z = samples(length);
    transform.forward(z.data());
    transform.back(z.data());
    double worst = 0;
    for (std::uint32_t x = 0; x < length; ++x)
      for (std::size_t i = 0; i < 4; ++i)
        worst = std::max(worst, std::abs(lane(z[x], i) / static_cast<double>(length) - lane(sample(x), i)));
    EXPECT_LT(worst, 2e-15) << length;
  }
}

TEST(FastTransform, FilterTurnsAWaveIntoItsFrequencysShare) {
  for (const std::uint32_t length : kLengths) {
    const FastTransform transform(length);
    std::vector<double> spectrum(length);
    const auto share = [](std::uint32_t m) { return 0.25 + noise(static_cast<int>(m), 0)[0]; };
    for (std::uint32_t m = 0; m < length; ++m) spectrum[transform.slot(m)] = share(m);
    for (const std::uint32_t m : someOf(length)) {
      AlignedArray<Complex4> z(length);
      for (std::uint32_t x = 0; x < length; ++x) {
        const Complex wave = rootOf(std::uint64_t{m} * x, length);
        z[x] = {splat(wave.real()), splat(wave.imag())};
      }
      transform.filter(z.data(), spectrum.data());
      double worst = 0;
      for (std::uint32_t x = 0; x < length; ++x)
        worst = std::max(worst, std::abs(lane(z[x], 1) - static_cast<double>(length) * share(m) *
                                                             rootOf(std::uint64_t{m} * x, length)));
      EXPECT_LT(worst, 4e-15 * (length + 4)) << length << ", frequency " << m;
    }
  }
}

TEST(FastTransform, FitsProductsOfTwoThreeAndFive) {
  for (const std::uint32_t length : {1u, 2u, 3u, 4u, 5u, 4096u, 3072u, 2187u, 3125u})
    EXPECT_TRUE(FastTransform::fits(length)) << length;
  for (const std::uint32_t length : {7u, 14u, 11u, 4104u, 2049u}) EXPECT_FALSE(FastTransform::fits(length));
}

TEST(FastTransform, LengthForFitsAndIsBelowTwiceTheLeast) {
  for (std::uint32_t least = 1; least < 3000; least += 1 + least / 7) {
    const std::uint32_t length = FastTransform::lengthFor(least);
    EXPECT_TRUE(FastTransform::fits(length));
    EXPECT_GE(length, least);
    EXPECT_LT(length, 2 * least);
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
