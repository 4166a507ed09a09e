#include "backgrounds/sphere_blur.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <numbers>
#include <numeric>
#include <vector>

#include "backgrounds/HarmonicFilter.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/maps.h"
#include "support/fake_host/FakeHost.h"
#include "support/reference/heat_kernel.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr float kMost = std::numeric_limits<float>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Sigmas of either way: the harmonics' from 0.97 degrees on, the near kernel's below.
constexpr double kWide = 0.05, kNear = 0.012;

class SphereBlur : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    context_.scene = host_.scene();
  }

  /// Expects blurred noise of this size to agree with the direct sum, as parts of 1.
  void expectReference(std::uint32_t width, std::uint32_t height, double sigma, double tolerance) {
    BlockedMap map = mapOf(width, height, noise);
    const reference::Map expected = reference::blurredOnSphere(referenceOf(map), sigma);
    blurOnSphere(map, sigma, context_);
    double worst = 0;
    for (int y = 0; y < expected.height; ++y)
      for (int x = 0; x < expected.width; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          worst = std::max(worst, std::abs(pixelOf(map, x, y)[c] - expected.at(x, y)[c]));
    EXPECT_LT(worst, tolerance) << width << " x " << height << ", sigma " << sigma;
    EXPECT_TRUE(paddingRepeatsTheRow(map)) << width << " x " << height;
  }

  /// A map that is 0 but for a sun of 1e5.
  static BlockedMap sunAt(std::uint32_t width, std::uint32_t height, int sunX, int sunY) {
    return mapOf(width, height, [=](int x, int y) {
      return x == sunX && y == sunY ? reference::Color{1e5, 5e4, 1} : reference::Color{};
    });
  }

  /// The largest difference between a blurred sun and the heat kernel, as a part of the kernel's peak, in 100
  /// directions on a spiral about the sun out to 4 sigma.
  double profileError(int width, int height, int sunX, int sunY, double sigma) {
    BlockedMap map = sunAt(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), sunX, sunY);
    blurOnSphere(map, sigma, context_);
    const double power = 1e5 * reference::pixelArea(width, height, sunY);
    const double peak = power * reference::heatKernel(sigma, 1);
    const double theta = (sunY + 0.5) / height * std::numbers::pi;
    double worst = 0;
    for (int k = 0; k < 100; ++k) {
      const double distance = 4 * sigma * k / 99, bearing = 2.4 * k;
      const double cosine =
          std::cos(theta) * std::cos(distance) + std::sin(theta) * std::sin(distance) * std::cos(bearing);
      const double turn = std::atan2(
          std::sin(distance) * std::sin(bearing),
          std::sin(theta) * std::cos(distance) - std::cos(theta) * std::sin(distance) * std::cos(bearing));
      const int y =
          std::clamp(static_cast<int>(std::acos(cosine) / std::numbers::pi * height), 0, height - 1);
      const int x =
          (sunX + static_cast<int>(std::lround(turn / (2 * std::numbers::pi) * width)) + width) % width;
      // Of the pixel that lies there, with its own distance.
      const double expected =
          power * reference::heatKernel(sigma, reference::cosDistance(width, height, sunX, sunY, x, y));
      worst = std::max(worst, std::abs(pixelOf(map, x, y)[0] - expected) / peak);
    }
    return worst;
  }

  FakeHost& host_ = FakeHost::instance();
  PaintContext context_;
};

TEST_F(SphereBlur, AgreesWithTheDirectSumAtAnySize) {
  for (const auto& [width, height] : {std::pair{64u, 32u}, {33u, 17u}, {7u, 40u}, {100u, 9u}, {13u, 7u}})
    for (const double sigma : {0.05, 0.3, 1.2, 8.0}) expectReference(width, height, sigma, 2e-7);
}

TEST_F(SphereBlur, AgreesWithTheDirectSumOnTheSmallestMaps) {
  for (const auto& [width, height] : {std::pair{1u, 12u}, {12u, 1u}, {1u, 1u}, {2u, 2u}, {1u, 2u}, {3u, 1u}})
    for (const double sigma : {0.02, 0.3, 2.0}) expectReference(width, height, sigma, 2e-7);
}

TEST_F(SphereBlur, OfASmallSigmaAgreesWithTheDirectSum) {
  // The kernels differ by up to 0.08 sigma^2 of the peak: 2e-5.
  for (const auto& [width, height] : {std::pair{256u, 128u}, {101u, 61u}, {30u, 200u}, {200u, 6u}, {3u, 9u}})
    for (const double sigma : {0.016, 0.006, 0.003}) expectReference(width, height, sigma, 5e-5);
}

TEST_F(SphereBlur, KeepsTheLightOfASunAnywhere) {
  constexpr int kWidth = 256, kHeight = 128;
  for (const double sigma : {0.4, kWide, kNear, 0.005}) {
    for (int place = 0; place < 20; ++place) {
      // Both rows at the poles, their neighbours, and rows between.
      const int rows[] = {0, kHeight - 1, 1, kHeight - 2};
      const int y = place < 4 ? rows[place] : place * 89 % kHeight;
      BlockedMap map = sunAt(kWidth, kHeight, place * 53 % kWidth, y);
      const double before = reference::light(referenceOf(map), 0);
      blurOnSphere(map, sigma, context_);
      EXPECT_NEAR(reference::light(referenceOf(map), 0) / before, 1, 1e-6) << sigma << ", row " << y;
    }
  }
}

TEST_F(SphereBlur, KeepsAConstantMapConstant) {
  for (const auto& [width, height] : {std::pair{256u, 128u}, {97u, 51u}, {8u, 300u}})
    for (const double sigma : {1e9, 0.4, kWide, kNear, 0.004, 0.001}) {
      BlockedMap map = mapOf(width, height, [](int, int) { return reference::Color{0.5, 2, 100}; });
      blurOnSphere(map, sigma, context_);
      for (int y = 0; y < static_cast<int>(height); ++y)
        for (int x = 0; x < static_cast<int>(width); ++x) {
          ASSERT_NEAR(pixelOf(map, x, y)[0], 0.5, 5e-7) << width << ", " << sigma << ", row " << y;
          ASSERT_NEAR(pixelOf(map, x, y)[2], 100, 1e-4) << width << ", " << sigma << ", row " << y;
        }
    }
}

TEST_F(SphereBlur, MakesASunTheHeatKernel) {
  for (const int y : {0, 1, 17, 200, 256, 511}) {
    EXPECT_LT(profileError(1024, 512, 100, y, 14.4 * kDegree), 2e-4) << y;
    EXPECT_LT(profileError(1024, 512, 100, y, 7.2 * kDegree), 2e-4) << y;
  }
  for (const int y : {0, 1, 300, 1023, 2047}) {
    EXPECT_LT(profileError(4096, 2048, 4000, y, 3.6 * kDegree), 2e-4) << y;
    EXPECT_LT(profileError(4096, 2048, 4000, y, 1.8 * kDegree), 2e-4) << y;
  }
}

TEST_F(SphereBlur, OfASmallSigmaMakesASunTheHeatKernelAsFarAsPixelsTell) {
  // Away from the poles the pixels' sum is the integral to 1e-8 from 2 pixels of sigma on, and the kernels
  // differ by 0.08 sigma^2; in the pole's row the scale is off by about 0.1 of a pixel over sigma, squared.
  constexpr double kColumn = 2 * std::numbers::pi / 2048;
  for (const double sigma : {0.9 * kDegree, 0.45 * kDegree}) {
    EXPECT_LT(profileError(2048, 1024, 5, 512, sigma), 2.5e-5) << sigma;
    EXPECT_LT(profileError(2048, 1024, 5, 300, sigma), 2.5e-5) << sigma;
    EXPECT_LT(profileError(2048, 1024, 5, 0, sigma), 0.1 * (kColumn / sigma) * (kColumn / sigma)) << sigma;
    EXPECT_LT(profileError(2048, 1024, 5, 1023, sigma), 0.1 * (kColumn / sigma) * (kColumn / sigma)) << sigma;
  }
}

TEST_F(SphereBlur, BothWaysAreOneWhereTheyMeet) {
  // The highest degree l of 1e-10, l (l + 1) sigma^2 / 2 = ln 1e10, passes 400 here.
  const double sigma = std::sqrt(2 * std::log(1e10) / (401.0 * 402.0));
  const double above = sigma * (1 + 1e-6), below = sigma * (1 - 1e-6);
  ASSERT_LE(HarmonicFilter::highestDegree(above), HarmonicFilter::kHighestDegree);
  ASSERT_GT(HarmonicFilter::highestDegree(below), HarmonicFilter::kHighestDegree);
  for (const int sunY : {0, 1, 90, 255}) {
    BlockedMap wide = sunAt(512, 256, 26, sunY), near = sunAt(512, 256, 26, sunY);
    blurOnSphere(wide, above, context_);
    blurOnSphere(near, below, context_);
    const double peak = pixelOf(wide, 26, sunY)[0];
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 512; ++x)
        ASSERT_NEAR(pixelOf(wide, x, y)[0], pixelOf(near, x, y)[0], 3e-5 * peak) << sunY << ", row " << y;
  }
}

TEST_F(SphereBlur, DampsTheHarmonicsOfAnyAxis) {
  // Polynomials of the cosine to an axis are damped by degree: exp(-sigma^2), exp(-3 sigma^2). A sigma of 4
  // pixels shows the rings' scaling next to the poles by 6e-5, one of a single pixel by 2.5e-4.
  constexpr int kWidth = 512, kHeight = 256;
  for (const double sigma : {0.5, kWide, kNear})
    for (const double tilt : {0.0, 0.3, 1.1, 1.5707963}) {
      const auto cosine = [&](int x, int y) {
        const double theta = (y + 0.5) / kHeight * std::numbers::pi;
        const double phi = 2 * std::numbers::pi * x / kWidth;
        return std::cos(tilt) * std::cos(theta) + std::sin(tilt) * std::sin(theta) * std::cos(phi - 1);
      };
      const double tolerance = sigma == kNear ? 4e-4 : 1e-4;
      BlockedMap map = mapOf(kWidth, kHeight, [&](int x, int y) {
        const double c = cosine(x, y);
        return std::array{2 + c, 2 + 1.5 * c * c - 0.5, 1.0};
      });
      blurOnSphere(map, sigma, context_);
      for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; x += 5) {
          const double c = cosine(x, y);
          ASSERT_NEAR(pixelOf(map, x, y)[0], 2 + std::exp(-sigma * sigma) * c, tolerance)
              << sigma << ", " << tilt;
          ASSERT_NEAR(pixelOf(map, x, y)[1], 2 + std::exp(-3 * sigma * sigma) * (1.5 * c * c - 0.5),
                      tolerance)
              << sigma << ", " << tilt;
        }
    }
}

TEST_F(SphereBlur, OfAShiftedMapIsTheShiftedBlur) {
  for (const double sigma : {0.3, kWide, kNear}) {
    BlockedMap map = mapOf(203, 90, noise);
    BlockedMap shifted = mapOf(203, 90, [](int x, int y) { return noise((x + 71) % 203, y); });
    blurOnSphere(map, sigma, context_);
    blurOnSphere(shifted, sigma, context_);
    for (int y = 0; y < 90; ++y)
      for (int x = 0; x < 203; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          EXPECT_NEAR(pixelOf(shifted, x, y)[c], pixelOf(map, (x + 71) % 203, y)[c], 1.2e-7);
  }
}

TEST_F(SphereBlur, OfAHugeSigmaIsTheMeanOfTheSphere) {
  BlockedMap map = mapOf(60, 35, noise);
  const double mean = reference::light(referenceOf(map), 1) / (4 * std::numbers::pi);
  for (const double sigma : {20.0, 1e300, std::numeric_limits<double>::infinity()}) {
    BlockedMap blurred = mapOf(60, 35, noise);
    blurOnSphere(blurred, sigma, context_);
    for (int y = 0; y < 35; ++y)
      for (int x = 0; x < 60; ++x) EXPECT_NEAR(pixelOf(blurred, x, y)[1], mean, 1e-7);
  }
}

TEST_F(SphereBlur, OfATinySigmaLeavesTheMap) {
  // A sigma of 0.1 pixels: the nearest neighbour weighs exp(-50), but in the rows at the poles pixels are
  // near.
  BlockedMap map = mapOf(128, 64, noise);
  blurOnSphere(map, 0.1 * 2 * std::numbers::pi / 128, context_);
  for (int y = 16; y < 48; ++y)
    for (int x = 0; x < 128; ++x) EXPECT_NEAR(pixelOf(map, x, y)[0], noise(x, y)[0], 1e-6);
}

TEST_F(SphereBlur, IsFiniteWhateverThePixels) {
  for (const double sigma : {0.5, kWide, kNear, 0.002}) {
    BlockedMap map = mapOf(96, 48, [](int x, int y) {
      return x == 7 && y % 9 == 0 ? std::array{kInfinity, std::numeric_limits<float>::quiet_NaN(), -kInfinity}
                                  : std::array{1.0f, y < 5 ? kMost : 0.0f, 2.0f};
    });
    blurOnSphere(map, sigma, context_);
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 96; ++x)
        for (std::size_t c = 0; c < 3; ++c) {
          ASSERT_TRUE(std::isfinite(pixelOf(map, x, y)[c])) << sigma;
          ASSERT_GE(pixelOf(map, x, y)[c], 0.0) << sigma;
        }
  }
}

TEST_F(SphereBlur, OfTheLargestFloatsIsTheLargestFloat) {
  for (const double sigma : {0.5, kNear}) {
    BlockedMap map = mapOf(64, 32, [](int, int) { return std::array{kMost, kInfinity, kMost}; });
    blurOnSphere(map, sigma, context_);
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 64; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          ASSERT_NEAR(pixelOf(map, x, y)[c] / static_cast<double>(kMost), 1, 1e-6);
  }
}

TEST_F(SphereBlur, BytesAreEqualWithOneTwoAndSevenThreads) {
  for (const double sigma : {0.3, kWide, kNear}) {
    std::vector<BlockedMap> results;
    for (const std::size_t threads : {1u, 2u, 7u}) {
      const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
      results.push_back(mapOf(203, 97, noise));
      blurOnSphere(results.back(), sigma, context_);
    }
    EXPECT_TRUE(sameBytes(results[0], results[1])) << sigma;
    EXPECT_TRUE(sameBytes(results[0], results[2])) << sigma;
  }
}

TEST_F(SphereBlur, AdvancesProgressByOne) {
  for (const double sigma : {0.3, kNear}) {
    host_.reset();
    BlockedMap map = mapOf(64, 37, noise);
    blurOnSphere(map, sigma, context_);
    const std::vector<float> amounts = host_.progressAmounts();
    EXPECT_NEAR(std::accumulate(amounts.begin(), amounts.end(), 0.0), 1, 1e-5);
  }
}

TEST_F(SphereBlur, OfAnEmptyMapIsNothing) {
  BlockedMap map;
  blurOnSphere(map, 0.3, context_);
  EXPECT_TRUE(map.empty());
}

TEST_F(SphereBlur, EveryFailingAllocationEndsInBadAllocAndLosesNothing) {
  for (const double sigma : {kWide, kNear}) {
    BlockedMap map = mapOf(64, 32, noise);
    const std::int64_t live = host_.liveBlocks();
    int failures = 0;
    for (std::int64_t n = 1; n < 1000; ++n) {
      host_.failAllocation(n);
      bool failed = false;
      try {
        blurOnSphere(map, sigma, context_);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      ASSERT_EQ(host_.liveBlocks(), live) << n;
      if (!failed) break;
      ++failures;
    }
    host_.failAllocation(0);
    EXPECT_GE(failures, 6) << sigma;
    EXPECT_LT(failures, 999) << sigma;
  }
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
