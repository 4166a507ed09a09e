#include "backgrounds/SpectralFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "backgrounds/maps.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// A Gaussian half kernel whose whole sum is about 1.
AlignedFloats kernelOf(std::uint32_t radius) {
  AlignedFloats weights(radius + std::size_t{1});
  const double sigma = 0.3 * radius + 0.5;
  for (std::uint32_t i = 0; i <= radius; ++i)
    weights[i] = static_cast<float>(std::exp(-0.5 * i * i / (sigma * sigma)) / (sigma * 2.5066));
  return weights;
}

/// A line of `count` eight-lane values.
struct Line {
  template <typename Value>
  Line(std::uint32_t count, const Value& value) : floats(std::size_t{8} * count) {
    for (std::uint32_t p = 0; p < count; ++p)
      for (std::uint32_t i = 0; i < 8; ++i) floats[8 * p + i] = static_cast<float>(value(p, i));
  }
  AlignedFloats floats;
};

/// The sum by its definition, in double precision.
double summed(const Line& line, std::uint32_t count, const AlignedFloats& weights, Ends ends, std::int64_t p,
              std::uint32_t i) {
  const auto radius = static_cast<std::int64_t>(weights.size() - 1);
  double sum = 0;
  for (std::int64_t d = -radius; d <= radius; ++d) {
    std::int64_t from = p + d;
    if (ends == Ends::wrapped) from = (from + count) % count;
    if (from < 0 || from >= count) continue;
    sum += double{weights[static_cast<std::size_t>(std::abs(d))]} *
           double{line.floats[static_cast<std::size_t>(8 * from + i)]};
  }
  return sum;
}

/// The largest error of a filtered line, relative to each value.
double worstError(std::uint32_t count, std::uint32_t radius, Ends ends, const auto& value,
                  const float* scale = nullptr) {
  const Line line(count, value);
  const AlignedFloats weights = kernelOf(radius);
  const SpectralFilter filter(weights, count, ends);
  AlignedArray<Complex4> points(filter.points());
  AlignedFloats out(std::size_t{8} * count);
  EXPECT_TRUE(filter.filter(line.floats.data(), scale, points.data(), out.data()));
  double worst = 0;
  for (std::uint32_t p = 0; p < count; p += 1 + count / 61)
    for (std::uint32_t i = 0; i < 8; ++i) {
      const double expected = summed(line, count, weights, ends, p, i) * (scale ? double{scale[p]} : 1.0);
      worst = std::max(worst, std::abs(double{out[8 * p + i]} / expected - 1));
    }
  return worst;
}

double noisy(std::uint32_t p, std::uint32_t i) {
  return 0.01 + noise(static_cast<int>(p), static_cast<int>(i))[0];
}

/// A sun in one lane of an even sky; the other lanes of its batch must not notice.
double sunny(std::uint32_t p, std::uint32_t i) { return p == 2 && i == 5 ? 1e5 : 0.5; }

/// Lengths with and without a transform of their own, and kernels as long as the line.
struct Case {
  std::uint32_t count, radius;
};
constexpr Case kCases[] = {{1, 0},    {2, 1},    {8, 7},     {13, 12},   {24, 5},     {97, 50},  {97, 96},
                           {104, 60}, {509, 67}, {512, 511}, {600, 100}, {1016, 300}, {1024, 48}};

TEST(SpectralFilter, AgreesWithTheSumInDoublePrecision) {
  for (const auto& [count, radius] : kCases)
    for (const Ends ends : {Ends::truncated, Ends::wrapped}) {
      EXPECT_LT(worstError(count, radius, ends, noisy), 7e-8) << count << ", " << radius;
      if (count == 1) continue;
      EXPECT_LT(worstError(count, radius, ends, sunny), 7e-8) << count << ", " << radius;
    }
}

TEST(SpectralFilter, ScalesEachResult) {
  std::vector<float> scale;
  for (int p = 0; p < 104; ++p) scale.push_back(1 + 0.3f * static_cast<float>(p % 7));
  EXPECT_LT(worstError(104, 60, Ends::truncated, noisy, scale.data()), 7e-8);
}

TEST(SpectralFilter, ResultsAreNotNegative) {
  // All the light in one value: what the kernel does not reach is rounding error.
  const Line line(512, [](std::uint32_t p, std::uint32_t) { return p == 100 ? 1e8 : 0.0; });
  const SpectralFilter filter(kernelOf(48), 512, Ends::wrapped);
  AlignedArray<Complex4> points(filter.points());
  AlignedFloats out(512 * 8);
  ASSERT_TRUE(filter.filter(line.floats.data(), nullptr, points.data(), out.data()));
  for (std::size_t i = 0; i < out.size(); ++i) {
    EXPECT_GE(out[i], 0.0f);
    const bool reached = i / 8 >= 52 && i / 8 <= 148;
    EXPECT_LT(out[i], reached ? 1e8f : 1e-8f) << i;
  }
}

TEST(SpectralFilter, NegativeValuesCountAsWhatTheyAre) {
  const Line line(300, [](std::uint32_t p, std::uint32_t i) { return noisy(p, i) - 0.5; });
  const AlignedFloats weights = kernelOf(60);
  const SpectralFilter filter(weights, 300, Ends::wrapped);
  AlignedArray<Complex4> points(filter.points());
  AlignedFloats out(300 * 8);
  ASSERT_TRUE(filter.filter(line.floats.data(), nullptr, points.data(), out.data()));
  for (std::uint32_t i = 0; i < out.size(); ++i)
    EXPECT_NEAR(out[i], summed(line, 300, weights, Ends::wrapped, i / 8, i % 8), 1e-7) << i;
}

TEST(SpectralFilter, RefusesWhatItsLinesWouldNotKeepApart) {
  const SpectralFilter filter(kernelOf(48), 512, Ends::wrapped);
  AlignedArray<Complex4> points(filter.points());
  constexpr float infinity = std::numeric_limits<float>::infinity();
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), infinity, -infinity, -1.1e8f, 1.1e8f}) {
    const Line line(512, [&](std::uint32_t p, std::uint32_t i) { return p == 511 && i == 7 ? bad : 1.0f; });
    AlignedFloats out(512 * 8);
    std::fill_n(out.data(), out.size(), 3.0f);
    EXPECT_FALSE(filter.filter(line.floats.data(), nullptr, points.data(), out.data())) << bad;
    EXPECT_EQ(std::count(out.data(), out.data() + out.size(), 3.0f), 512 * 8) << bad;
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
