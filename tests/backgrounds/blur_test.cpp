#include "backgrounds/blur.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <tuple>
#include <vector>

#include "backgrounds/maps.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// The amount that gives `radius` on a map of this width whose largest value is not above 1.
float amountOf(int radius, int width) {
  // sqrt(-2 ln 0.1) = 2.1459660
  return static_cast<float>((radius - 0.5) / 2.1459660 * 200.0 / width);
}

BlurSettings settingsOf(float amount, std::uint32_t width, std::uint32_t height, float maximum) {
  BlurSettings settings(amount);
  settings.makeKernel(width, height, maximum);
  return settings;
}

class Blur : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    painter_ = static_cast<BlockedPainter*>(createAVX2Painter());
    painter_->setScene(host_.scene());
  }
  void TearDown() override { destroyAVX2Painter(painter_); }

  /// Blurs with the kernel for a maximum of `maximum`; expects its radius.
  void blurBy(BlockedMap& map, int radius, float maximum = 1.0f) {
    const double reach = std::sqrt(-2.0 * std::log(0.1 / std::max(1.0, static_cast<double>(maximum))));
    amount_ = static_cast<float>((radius - 0.5) / reach * 200.0 / map.width());
    const BlurSettings settings = settingsOf(amount_, map.width(), map.height(), maximum);
    ASSERT_EQ(settings.radius(), static_cast<std::uint32_t>(radius));
    blur(map, settings, painter_->context());
  }

  /// Expects the blurred noise of this size to agree with the reference.
  void expectReference(int width, int height, int radius) {
    BlockedMap map = mapOf(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), noise);
    const reference::Map before = referenceOf(map);
    ASSERT_NO_FATAL_FAILURE(blurBy(map, radius));
    const std::vector<double> kernel = reference::blurKernel(width, height, static_cast<double>(amount_), 1);
    ASSERT_EQ(kernel.size(), static_cast<std::size_t>(radius) + 1);
    const reference::Map expected = reference::blurred(before, kernel);
    double worst = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          worst = std::max(worst, std::abs(pixelOf(map, x, y)[c] / expected.at(x, y)[c] - 1.0));
    EXPECT_LT(worst, 2e-6 + 4e-9 * radius) << width << " x " << height << ", radius " << radius;
    EXPECT_TRUE(paddingRepeatsTheRow(map)) << width << " x " << height;
  }

  FakeHost& host_ = FakeHost::instance();
  BlockedPainter* painter_ = nullptr;
  float amount_ = 0;
};

TEST(BlurKernel, ReachesToATenthOfTheBrightestValue) {
  // sigma = 100 / 100 * 2 / 2 = 1: ceil(sqrt(-2 ln 0.1)) = ceil(2.146), ceil(sqrt(-2 ln 1e-4)) = ceil(4.292).
  EXPECT_EQ(settingsOf(2, 100, 100, 1).radius(), 3u);
  EXPECT_EQ(settingsOf(2, 100, 100, 1000).radius(), 5u);
}

TEST(BlurKernel, MapsDimmerThanOneCountAsOne) {
  EXPECT_EQ(settingsOf(2, 100, 100, 0.25f).radius(), 3u);
  EXPECT_EQ(settingsOf(2, 100, 100, 0).radius(), 3u);
  EXPECT_EQ(settingsOf(2, 100, 100, std::numeric_limits<float>::quiet_NaN()).radius(), 3u);
}

TEST(BlurKernel, HoldsTheNormalisedGaussian) {
  const BlurSettings settings = settingsOf(2, 100, 100, 1);
  // exp(-1/2), exp(-2), exp(-9/2); sum 1 + 2 (0.606531 + 0.135335 + 0.011109) = 2.505950
  const AlignedFloats& w = settings.kernel();
  EXPECT_FLOAT_EQ(w[0], 0.39905028f);
  EXPECT_FLOAT_EQ(w[1], 0.24203623f);
  EXPECT_FLOAT_EQ(w[2], 0.054005578f);
  EXPECT_FLOAT_EQ(w[3], 0.0044330480f);
}

TEST(BlurKernel, StaysBelowBothSizes) {
  EXPECT_EQ(settingsOf(50, 40, 1000, 1e5f).radius(), 39u);
  EXPECT_EQ(settingsOf(50, 1000, 7, 1e5f).radius(), 6u);
  EXPECT_EQ(settingsOf(50, 1, 9, 1e5f).radius(), 0u);
}

TEST(BlurKernel, HugeAmountsGiveEqualWeights) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float amount : {3e38f, infinity}) {
    const BlurSettings settings = settingsOf(amount, 9, 4, infinity);
    ASSERT_EQ(settings.radius(), 3u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(settings.kernel()[i], 1.0f / 7.0f);
  }
}

TEST(BlurKernel, AmountsNotAboveZeroCountAsZero) {
  EXPECT_EQ(BlurSettings(0).amount(), 0.0f);
  EXPECT_EQ(BlurSettings(-3).amount(), 0.0f);
  EXPECT_EQ(BlurSettings(std::numeric_limits<float>::quiet_NaN()).amount(), 0.0f);
}

TEST(BlurKernel, ASigmaThatReachesNoNeighbourMakesNone) {
  // exp(-1 / (2 sigma^2)) = 1e-10 at sigma = 0.147365; width 64: sigma = 0.32 amount.
  BlurSettings below(0.46f), above(0.4606f), denormal(1e-38f);
  EXPECT_FALSE(below.makeKernel(64, 32, 1));
  EXPECT_EQ(below.radius(), 0u);
  EXPECT_TRUE(above.makeKernel(64, 32, 1));
  EXPECT_FALSE(denormal.makeKernel(64, 32, 1));
}

TEST(BlurKernel, OfAMapOfOneColumnOrRowIsItsCentre) {
  // Sigmas of 0.5 and 5 pixels.
  for (const auto& [width, height, amount] : {std::tuple{1u, 5u, 100.0f}, {100u, 1u, 10.0f}}) {
    BlurSettings settings(amount);
    EXPECT_TRUE(settings.makeKernel(width, height, 1));
    ASSERT_EQ(settings.kernel().size(), 1u);
    EXPECT_EQ(settings.kernel()[0], 1.0f);
  }
}

TEST(BlurKernel, AnEmptyMapMakesNone) {
  BlurSettings settings(10);
  EXPECT_FALSE(settings.makeKernel(0, 5, 1));
  EXPECT_FALSE(settings.makeKernel(5, 0, 1));
}

TEST_F(Blur, AgreesWithTheReferenceAtEveryWidthAndRadius) {
  for (const int width : {8, 12, 64, 509}) {
    const int height = width == 509 ? 67 : width + 3;
    for (const int radius : {1, 2, 7, 8, 50, width - 1, height - 1})
      if (radius < width && radius < height) expectReference(width, height, radius);
  }
}

TEST_F(Blur, AgreesWithTheReferenceOnFlatAndOnNarrowMaps) {
  expectReference(509, 30, 29);
  expectReference(70, 300, 69);
  expectReference(2, 9, 1);
  expectReference(9, 2, 1);
  expectReference(3, 3, 2);
}

/// The largest error of a pixel, relative to it, against the sums in double precision with the weights of the
/// 32-bit sigma.
double worstErrorOfLongBlur(int width, int height, int radius, float maximum, const auto& color) {
  BlockedMap map = mapOf(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), color);
  const reference::Map before = referenceOf(map);
  const double reach = std::sqrt(-2.0 * std::log(0.1 / static_cast<double>(maximum)));
  BlurSettings settings(static_cast<float>((radius - 0.5) / reach * 200.0 / width));
  settings.makeKernel(map.width(), map.height(), maximum);
  const double sigma = static_cast<double>(settings.sigma(map.width()));
  std::vector<double> kernel;
  double sum = -1;
  for (int i = 0; i <= static_cast<int>(settings.radius()); ++i) {
    kernel.push_back(std::exp(-i * i / (2 * sigma * sigma)));
    sum += 2 * kernel.back();
  }
  for (double& w : kernel) w /= sum;
  const reference::Map expected = reference::blurred(before, kernel);
  blur(map, settings, PaintContext());
  EXPECT_TRUE(paddingRepeatsTheRow(map)) << width << " x " << height;
  double worst = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (std::size_t c = 0; c < 3; ++c)
        worst = std::max(worst, std::abs(pixelOf(map, x, y)[c] / expected.at(x, y)[c] - 1.0));
  return worst;
}

TEST_F(Blur, LongKernelsAgreeWithDoublePrecisionBesideASun) {
  for (const auto& [width, height, radius] :
       {std::tuple{512, 256, 100}, {512, 256, 255}, {331, 120, 119}, {203, 97, 80}, {70, 300, 69}}) {
    // At the seam and next to the pole.
    const auto sun = [w = width](int x, int y) {
      return x == w - 1 && y == 1 ? reference::Color{1e5, 5e4, 100} : reference::Color{0.5, 1, 0.001};
    };
    EXPECT_LT(worstErrorOfLongBlur(width, height, radius, 1e5f, sun), 5e-7) << width << ", " << radius;
    EXPECT_LT(worstErrorOfLongBlur(width, height, radius, 1, noise), 5e-7) << width << ", " << radius;
  }
}

TEST_F(Blur, ARadiusBeyondTheMapReachesFromPoleToPole) {
  EXPECT_LT(worstErrorOfLongBlur(300, 100, 5000, 1, noise), 5e-7);
}

TEST_F(Blur, MapsWrittenPastTheCachesAgreeWithTheSumOfBothKernels) {
  constexpr int kWidth = 2368, kHeight = 1184;
  for (const int radius : {5, 70}) {
    BlockedMap map = mapOf(kWidth, kHeight, noise);
    ASSERT_GE(map.bytes(), kStreamingBytes);
    ASSERT_NO_FATAL_FAILURE(blurBy(map, radius));
    const std::vector<double> w = reference::blurKernel(kWidth, kHeight, static_cast<double>(amount_), 1);
    const auto weight = [&](int d) { return w[static_cast<std::size_t>(std::abs(d))]; };
    for (const auto& [x, y] : {std::pair{0, 600}, {2367, 71}, {1180, 1110}, {1187, 1112}, {5, 500}})
      for (std::size_t c = 0; c < 3; ++c) {
        double expected = 0;
        for (int dy = -radius; dy <= radius; ++dy)
          for (int dx = -radius; dx <= radius; ++dx)
            expected += weight(dx) * weight(dy) * noise((x + dx + kWidth) % kWidth, y + dy)[c];
        EXPECT_NEAR(pixelOf(map, x, y)[c] / expected, 1, 1e-6) << radius << ": " << x << ", " << y;
      }
  }
}

TEST_F(Blur, PixelsThatAreNotNumbersSpoilOnlyWhatTheKernelReaches) {
  const int radius = 70;
  const auto broken = [](int x, int y) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return x == 100 && y == 80 ? reference::Color{nan, 1, nan} : noise(x, y);
  };
  BlockedMap map = mapOf(256, 160, broken), whole = mapOf(256, 160, noise);
  ASSERT_NO_FATAL_FAILURE(blurBy(map, radius));
  ASSERT_NO_FATAL_FAILURE(blurBy(whole, radius));
  for (int y = 0; y < 160; ++y)
    for (int x = 0; x < 256; ++x) {
      const bool reached = std::abs(x - 100) <= radius && std::abs(y - 80) <= radius;
      EXPECT_EQ(std::isnan(pixelOf(map, x, y)[0]), reached) << x << ", " << y;
      if (reached) continue;
      EXPECT_NEAR(pixelOf(map, x, y)[0], pixelOf(whole, x, y)[0], 1e-6) << x << ", " << y;
    }
}

TEST_F(Blur, OneRowOrOneColumnStaysAsItIs) {
  for (const auto& [width, height] : {std::pair{17u, 1u}, {1u, 17u}, {1u, 1u}}) {
    BlockedMap map = mapOf(width, height, noise);
    const BlockedMap before = mapOf(width, height, noise);
    blur(map, settingsOf(30, width, height, 1), painter_->context());
    EXPECT_TRUE(sameBytes(map, before)) << width << " x " << height;
  }
}

TEST_F(Blur, AConstantMapStaysConstantUpToThePoles) {
  BlockedMap map = mapOf(40, 30, [](int, int) { return reference::Color{0.5, 2, 100}; });
  blurBy(map, 20, 100);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) {
      EXPECT_NEAR(pixelOf(map, x, y)[0], 0.5, 1e-6);
      EXPECT_NEAR(pixelOf(map, x, y)[2], 100, 1e-4);
    }
}

TEST_F(Blur, ABrightColumnAtTheSeamSpreadsIntoTheLastColumns) {
  BlockedMap map = mapOf(64, 20, [](int x, int) {
    return x == 0 ? reference::Color{8, 4, 1} : reference::Color{};
  });
  blurBy(map, 5);
  const std::vector<double> w = reference::blurKernel(64, 20, static_cast<double>(amount_), 1);
  ASSERT_EQ(w.size(), 6u);
  for (int d = 0; d <= 5; ++d) {
    EXPECT_NEAR(pixelOf(map, d, 11)[0], 8 * w[static_cast<std::size_t>(d)], 1e-5);
    EXPECT_EQ(pixelOf(map, (64 - d) % 64, 11), pixelOf(map, d, 11)) << d;
  }
  EXPECT_EQ(pixelOf(map, 6, 0)[0], 0.0);
  EXPECT_EQ(pixelOf(map, 58, 0)[0], 0.0);
}

TEST_F(Blur, ABrightFirstRowSpreadsOnlyDownward) {
  BlockedMap map = mapOf(64, 40, [](int, int y) {
    return y == 0 ? reference::Color{1, 10, 3} : reference::Color{};
  });
  blurBy(map, 7);
  const std::vector<double> w = reference::blurKernel(64, 40, static_cast<double>(amount_), 1);
  // Row y sees the first row with w(y) of the weights w(0) ... w(7) and w(1) ... w(y) that fall on rows.
  double below = 0;
  for (const double weight : w) below += weight;
  double above = 0;
  for (int y = 0; y <= 7; ++y) {
    if (y > 0) above += w[static_cast<std::size_t>(y)];
    EXPECT_NEAR(pixelOf(map, 30, y)[1], 10 * w[static_cast<std::size_t>(y)] / (below + above), 1e-5) << y;
  }
  for (int y = 8; y < 40; ++y) EXPECT_EQ(pixelOf(map, 30, y)[1], 0.0) << y;
}

TEST_F(Blur, ASinglePixelBecomesTheProductOfTheTwoKernels) {
  BlockedMap map = mapOf(64, 48, [](int x, int y) {
    return x == 33 && y == 20 ? reference::Color{1e5, 0, 1} : reference::Color{};
  });
  blurBy(map, 9, 1e5f);
  const std::vector<double> w = reference::blurKernel(64, 48, static_cast<double>(amount_), 1e5);
  ASSERT_EQ(w.size(), 10u);
  for (int dy = -10; dy <= 10; ++dy)
    for (int dx = -10; dx <= 10; ++dx) {
      const bool reached = std::abs(dx) < 10 && std::abs(dy) < 10;
      // Sigma is a 32-bit float: its rounding counts twice for each of the exponents' 28.
      const double expected =
          reached ? w[static_cast<std::size_t>(std::abs(dx))] * w[static_cast<std::size_t>(std::abs(dy))]
                  : 0.0;
      EXPECT_NEAR(pixelOf(map, 33 + dx, 20 + dy)[0], 1e5 * expected, 1e5 * expected * 8e-6);
      EXPECT_EQ(pixelOf(map, 33 + dx, 20 + dy)[1], 0.0);
    }
}

TEST_F(Blur, IsSymmetricToTheBit) {
  BlockedMap map = mapOf(72, 65, [](int x, int y) {
    return x == 36 && y == 32 ? reference::Color{1e5, 7, 1} : reference::Color{};
  });
  blurBy(map, 31, 1e5f);
  for (int dy = 1; dy <= 32; ++dy)
    for (int dx = 1; dx <= 32; ++dx) {
      EXPECT_EQ(pixelOf(map, 36 + dx, 32 + dy), pixelOf(map, 36 - dx, 32 + dy));
      EXPECT_EQ(pixelOf(map, 36 + dx, 32 + dy), pixelOf(map, 36 + dx, 32 - dy));
    }
}

TEST_F(Blur, KeepsTheMeanOfARow) {
  const auto row = [](int x, int) { return noise(x, 5); };
  BlockedMap map = mapOf(128, 40, row);
  double before = 0, after = 0;
  for (int x = 0; x < 128; ++x) before += pixelOf(map, x, 20)[1];
  blurBy(map, 33);
  for (int x = 0; x < 128; ++x) after += pixelOf(map, x, 20)[1];
  EXPECT_NEAR(after, before, 1e-6 * before);
}

TEST_F(Blur, PaddingColumnsTakePartInTheWrap) {
  // Width 12, period 16: the columns 12 to 15 repeat 0 to 3, so column 0 reaches back to column 3.
  BlockedMap map = mapOf(12, 16, [](int x, int) {
    return x == 3 ? reference::Color{1, 1, 1} : reference::Color{};
  });
  blurBy(map, 1);
  EXPECT_GT(pixelOf(map, 0, 8)[0], 0.0);
  EXPECT_EQ(pixelOf(map, 1, 8)[0], 0.0);
  EXPECT_EQ(pixelOf(map, 11, 8)[0], 0.0);
}

TEST_F(Blur, BytesAreEqualWithOneTwoAndSevenThreads) {
  std::vector<BlockedMap> results;
  for (const std::size_t threads : {1u, 2u, 7u}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    for (const int radius : {23, 70}) {
      results.push_back(mapOf(203, 97, noise));
      blurBy(results.back(), radius);
    }
  }
  for (const std::size_t i : {2u, 3u, 4u, 5u}) EXPECT_TRUE(sameBytes(results[i % 2], results[i]));
}

TEST_F(Blur, ProgressAdvancesByBlockColumnsThenByGroupsOfRows) {
  BlockedMap map = mapOf(20, 17, noise);
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 1);
  blurBy(map, 3);
  // 3 block columns of 20, then 3 groups of 17 rows.
  const float column = 4.0f / 20.0f, group = 4.0f / 17.0f;
  EXPECT_THAT(host_.progressAmounts(), testing::ElementsAre(column, column, column, group, group, group));
}

TEST_F(Blur, WithoutMemoryTheMapStaysAndNothingIsLost) {
  BlockedMap map = mapOf(64, 32, noise);
  const BlockedMap before = mapOf(64, 32, noise);
  const BlurSettings settings = settingsOf(amountOf(5, 64), 64, 32, 1);
  const std::int64_t live = host_.liveBlocks();
  for (const std::int64_t n : {1, 2}) {  // the transposed map, then a thread's scratch
    host_.failAllocation(n);
    EXPECT_THROW(blur(map, settings, painter_->context()), std::bad_alloc);
    EXPECT_TRUE(sameBytes(map, before));
    EXPECT_EQ(host_.liveBlocks(), live);
  }
}

TEST_F(Blur, OfFiniteMapsIsFinite) {
  constexpr float kMost = std::numeric_limits<float>::max();
  // Twice 2e38 overflows, and weights in 32-bit floats may add up to a little more than 1.
  for (const float value : {2e38f, kMost}) {
    for (const int radius : {1, 7, 20}) {
      BlockedMap map = mapOf(64, 32, [&](int, int) { return std::array{value, value, value}; });
      ASSERT_NO_FATAL_FAILURE(blurBy(map, radius));
      for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x) ASSERT_NEAR(pixelOf(map, x, y)[2] / static_cast<double>(value), 1, 1e-5);
    }
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
