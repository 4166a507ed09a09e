#include "backgrounds/adjustments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "backgrounds/ImageBackground.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/maps.h"
#include "hdri/ImageBrush.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

constexpr int kWidth = 48, kHeight = 24;

class AdjustmentsTest : public testing::Test {
 protected:
  void SetUp() override {
    host_.reset();
    context_.scene = host_.scene();
    context_.width = kWidth;
    context_.height = kHeight;
    std::vector<float> rgb;
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x)
        for (const double channel : noise(x, y)) rgb.push_back(static_cast<float>(channel));
    host_.images["a"] = std::make_unique<FakeImage>(kWidth, kHeight, rgb);
  }

  /// Prepares the background with this blur and rotation.
  void prepare(float blurAmount, float azimuthDegrees, float tiltDegrees) {
    context_.blurAmount = blurAmount;
    context_.tiltAngle1 = azimuthDegrees * 0.017453292f;
    context_.tiltAngle2 = tiltDegrees * 0.017453292f;
    ASSERT_TRUE(background_.prepare(context_));
  }

  /// Progress phases so far.
  std::vector<std::string> phases() const {
    std::vector<std::string> out;
    for (const std::string& call : host_.calls())
      if (call.starts_with("orv_progress_set")) out.push_back(call);
    return out;
  }

  FakeHost& host_ = FakeHost::instance();
  PaintContext context_;
  ImageBackground background_{ImageBrush("a")};
};

constexpr const char* kImage = "orv_progress_set(scene, \"Image Adjustments\", 0)";
constexpr const char* kBlur = "orv_progress_set(scene, \"Blur\", 0)";
constexpr const char* kTilt = "orv_progress_set(scene, \"Tilt\", 0)";

TEST_F(AdjustmentsTest, WithoutBlurAndRotationTheMapStaysAndNoPhaseBegins) {
  for (const float amount : {0.0f, -5.0f}) {
    prepare(amount, 0, 0);
    EXPECT_TRUE(sameBytes(background_.preparedMap(), mapOf(kWidth, kHeight, noise)));
  }
  EXPECT_THAT(phases(), ElementsAre(kImage, kImage));
}

TEST_F(AdjustmentsTest, PhasesFollowInOrder) {
  prepare(10, 90, 20);
  EXPECT_THAT(phases(), ElementsAre(kImage, kBlur, kTilt));
}

TEST_F(AdjustmentsTest, ABlurTooSmallToMatterBeginsItsPhaseAndLeavesTheMap) {
  prepare(0.1f, 0, 0);
  EXPECT_THAT(phases(), ElementsAre(kImage, kBlur));
  EXPECT_TRUE(sameBytes(background_.preparedMap(), mapOf(kWidth, kHeight, noise)));
}

TEST_F(AdjustmentsTest, LessThanAColumnOfAzimuthBeginsNoPhase) {
  prepare(0, 7, 0);  // 48 * 7 / 360 = 0.93 columns
  EXPECT_THAT(phases(), ElementsAre(kImage));
  EXPECT_TRUE(sameBytes(background_.preparedMap(), mapOf(kWidth, kHeight, noise)));
}

TEST_F(AdjustmentsTest, TheBlurAdvancesProgressByAboutOneAndTheTiltByTheRowCount) {
  prepare(10, 90, 20);
  std::vector<float> amounts = host_.progressAmounts();
  ASSERT_EQ(amounts.size(), 1 + kWidth / 8 + kHeight / 8 + std::size_t{1});
  EXPECT_EQ(amounts.front(), 1.0f);
  EXPECT_EQ(amounts.back(), static_cast<float>(kHeight));
  EXPECT_NEAR(std::accumulate(amounts.begin() + 1, amounts.end() - 1, 0.0f), 1.0f, 1e-5f);
}

TEST_F(AdjustmentsTest, TheShiftAdvancesProgressByTheRowCountToo) {
  prepare(0, 90, 0);
  EXPECT_THAT(host_.progressAmounts(), ElementsAre(1.0f, static_cast<float>(kHeight)));
}

TEST_F(AdjustmentsTest, TheMapIsBlurredThenRotated) {
  prepare(10, 90, 0);
  // The brightest value is below 1, and 90 degrees are 12 of 48 columns.
  const reference::Map source = referenceOf(mapOf(kWidth, kHeight, noise));
  const reference::Map expected =
      reference::shifted(reference::blurred(source, reference::blurKernel(kWidth, kHeight, 10, 1)), 12);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x)
      EXPECT_NEAR(pixelOf(background_.preparedMap(), x, y)[1], expected.at(x, y)[1], 2e-6);
}

TEST_F(AdjustmentsTest, ThereIsNoSamplingCopyUnlessAPinShowsTheBackground) {
  prepare(10, 90, 20);
  EXPECT_FALSE(background_.canSample());
}

TEST_F(AdjustmentsTest, TheSamplingCopyShowsTheBlurButNotTheRotation) {
  prepare(10, 0, 0);
  const BlockedMap blurred = std::move(background_.preparedMap());
  context_.hasBackgroundFill = true;
  for (const float tiltDegrees : {0.0f, 20.0f}) {
    prepare(10, 90, tiltDegrees);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        // u = x / (width - 1) hits the centre of column x up to rounding.
        Block out;
        alignas(32) float u[8], v[8];
        std::fill_n(u, 8, static_cast<float>(x) / (kWidth - 1));
        std::fill_n(v, 8, static_cast<float>(y) / (kHeight - 1));
        background_.sampleBlock({&out, 1}, u, v);
        EXPECT_NEAR(out.g[0], pixelOf(blurred, x, y)[1], 1e-5);
      }
    EXPECT_FALSE(sameBytes(background_.preparedMap(), blurred));
  }
}

TEST_F(AdjustmentsTest, TheSamplingCopyGoesWhenNoPinAsksForItAnyMore) {
  context_.hasBackgroundFill = true;
  prepare(0, 0, 0);
  EXPECT_TRUE(background_.canSample());
  context_.hasBackgroundFill = false;
  prepare(0, 0, 0);
  EXPECT_FALSE(background_.canSample());
}

TEST_F(AdjustmentsTest, PreparingAgainKeepsOnlyTheMapAndItsCopy) {
  context_.hasBackgroundFill = true;
  prepare(10, 90, 20);
  const std::int64_t live = host_.liveBlocks();
  prepare(10, 90, 20);
  EXPECT_EQ(host_.liveBlocks(), live);
}

TEST_F(AdjustmentsTest, WithoutASceneNothingIsReported) {
  context_.scene = nullptr;
  prepare(10, 90, 20);
  EXPECT_TRUE(host_.progressAmounts().empty());
  EXPECT_TRUE(phases().empty());
}

TEST_F(AdjustmentsTest, EveryFailingAllocationEndsInBadAllocAndLosesNothing) {
  context_.hasBackgroundFill = true;
  prepare(10, 90, 20);
  background_.preparedMap().release();
  background_.samplingCopy() = InterleavedMap();
  const std::int64_t live = host_.liveBlocks();
  int failures = 0;
  for (std::int64_t n = 1; n < 100; ++n) {
    host_.failAllocation(n);
    bool failed = false;
    try {
      background_.prepare(context_);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    if (!failed) break;
    ++failures;
    background_.preparedMap().release();
    background_.samplingCopy() = InterleavedMap();
    ASSERT_EQ(host_.liveBlocks(), live) << n;
  }
  host_.failAllocation(0);
  // The map, the kernel, the transposed map, scratch for each pass, the copy, the column table, the source.
  EXPECT_GE(failures, 8);
  EXPECT_LT(failures, 99);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
