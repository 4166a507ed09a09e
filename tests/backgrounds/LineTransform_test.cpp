#include "backgrounds/LineTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "backgrounds/lanes.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Lengths of every radix, products of them, lengths with larger primes, and the highest frequencies asked
/// for.
struct Case {
  std::uint32_t length, highest;
};
const Case kCases[] = {{1, 0},    {2, 1},     {2, 0},    {3, 1},     {4, 2},      {5, 2},
                       {6, 3},    {7, 3},     {8, 4},    {8, 1},     {12, 6},     {15, 7},
                       {25, 12},  {30, 4},    {60, 30},  {64, 32},   {64, 3},     {97, 48},
                       {97, 5},   {100, 50},  {202, 60}, {256, 128}, {360, 20},   {1024, 28},
                       {1000, 0}, {509, 254}, {509, 31}, {509, 32},  {1018, 509}, {887, 60}};

TEST(LineTransform, ForwardIsTheFourierSum) {
  for (const auto& [length, highest] : kCases) {
    const LineTransform transform(length, highest);
    LineTransform::Scratch scratch(transform);
    for (std::uint32_t x = 0; x < length; ++x) scratch.points[transform.slot(x)] = sample(x);
    transform.forward(scratch);
    double worst = 0;
    for (std::uint32_t m = 0; m <= highest; ++m)
      for (std::size_t i = 0; i < 4; ++i) {
        Complex up = 0, down = 0;
        for (std::uint32_t x = 0; x < length; ++x) {
          up += lane(sample(x), i) * std::conj(rootOf(std::uint64_t{m} * x, length));
          down += lane(sample(x), i) * rootOf(std::uint64_t{m} * x, length);
        }
        worst = std::max({worst, std::abs(lane(scratch.positive[m], i) - up),
                          std::abs(lane(scratch.negative[m], i) - down)});
      }
    EXPECT_LT(worst, 1e-14 * length) << length << ", " << highest;
  }
}

TEST(LineTransform, BackIsTheSumOfTheFrequencies) {
  for (const auto& [length, highest] : kCases) {
    const LineTransform transform(length, highest);
    LineTransform::Scratch scratch(transform);
    for (std::uint32_t m = 0; m <= highest; ++m) {
      scratch.positive[m] = sample(m);
      scratch.negative[m] = sample(m + 5000);
    }
    transform.back(scratch);
    double worst = 0;
    for (std::uint32_t x = 0; x < length; ++x)
      for (std::size_t i = 0; i < 4; ++i) {
        Complex expected = 0;
        for (std::uint32_t m = 0; m <= highest; ++m) {
          const Complex root = rootOf(std::uint64_t{m} * x, length);
          expected += lane(sample(m), i) * root;
          if (m > 0 && 2 * m != length) expected += lane(sample(m + 5000), i) * std::conj(root);
        }
        worst = std::max(worst, std::abs(lane(scratch.points[transform.slot(x)], i) - expected));
      }
    EXPECT_LT(worst, 1e-14 * (highest + 1)) << length << ", " << highest;
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
