// Rows, blocks and column tables of a paint.

#include "pins/PassPlan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "fills/SolidColorFill.h"
#include "hdri/ColorBrush.h"
#include "maps/BlockedMap.h"
#include "shapes/CirclePinShape.h"
#include "shapes/trigonometry.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::unique_ptr<Pin> circlePin(float azimuth, float elevation, float radius) {
  CirclePinParams params;
  params.azimuth = azimuth;
  params.elevation = elevation;
  params.radius = radius;
  return std::make_unique<Pin>(
      std::unique_ptr<PinShape>(new (std::nothrow) CirclePinShape(params, 0.01f)),
      std::unique_ptr<PinFill>(new (std::nothrow) SolidColorFill(ColorBrush(1, 1, 1))));
}

class Plan : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(Plan, RowRangeOfAnEquatorialPin) {
  // 101 rows: (pi/2 - 0.5) / pi 100 = 34.08…, (pi/2 + 0.5) / pi 100 = 65.9…
  const auto pin = circlePin(0, 0, 0.5f);
  const RowRange pinRows = rowsOf(*pin->shape, 101);
  EXPECT_EQ(pinRows.first, 34);
  EXPECT_EQ(pinRows.last, 66);
}

TEST_F(Plan, RowRangeOfAPinAtThePoles) {
  const auto north = circlePin(0, 1.5f, 0.3f);
  const RowRange northRows = rowsOf(*north->shape, 101);
  EXPECT_EQ(northRows.first, 0);
  EXPECT_EQ(northRows.last, 12);  // (pi/2 - 1.2) / pi 100 = 11.8
  const auto south = circlePin(0, -1.5f, 0.3f);
  const RowRange southRows = rowsOf(*south->shape, 101);
  EXPECT_EQ(southRows.first, 88);
  EXPECT_EQ(southRows.last, 100);
}

TEST_F(Plan, RowRangeStaysWithinTheMap) {
  for (const float elevation : {1e30f, -1e30f, 100.0f, -100.0f, 0.0f}) {
    for (const float radius : {1e30f, -1e30f, 0.0f, 4.0f}) {
      const auto pin = circlePin(0, elevation, radius);
      for (const std::int32_t height : {1, 2, 7, 65536, 2147483647}) {
        const RowRange pinRows = rowsOf(*pin->shape, height);
        EXPECT_GE(pinRows.first, 0);
        EXPECT_LT(pinRows.last, height);
      }
    }
  }
}

TEST_F(Plan, RowRangeOfAPinThatIsNotFiniteIsEmpty) {
  const auto pin = circlePin(0, kNaN, 0.5f);
  const RowRange pinRows = rowsOf(*pin->shape, 64);
  EXPECT_GT(pinRows.first, pinRows.last);
}

TEST_F(Plan, SpanFromMinusPiStartsAtTheFirstBlock) {
  const PassPlan plan(100, 64, {}, 0);
  EXPECT_EQ(plan.blocksOf({-kPi, 0}).first, 0u);
}

TEST_F(Plan, SpanToPiEndsWithTheLastBlock) {
  for (std::int32_t width = 1; width <= 300; ++width) {
    const PassPlan plan(width, 64, {}, 0);
    const BlockRange range = plan.blocksOf({-kPi, kPi});
    EXPECT_EQ(range.first, 0u);
    EXPECT_EQ(range.end, blocksFor(static_cast<std::uint32_t>(width)));
  }
}

TEST_F(Plan, SpanIsWidenedToWholeBlocks) {
  // 64 columns: longitude 0 is between columns 31 and 32, a column is 0.0982 rad.
  const PassPlan plan(64, 64, {}, 0);
  const BlockRange range = plan.blocksOf({0.3f, 0.9f});  // columns 35.05… to 41.2
  EXPECT_EQ(range.first, 4u);
  EXPECT_EQ(range.end, 6u);
}

TEST_F(Plan, SpansThatAreNoNumbersHaveNoBlocks) {
  const PassPlan plan(64, 64, {}, 0);
  for (const AzimuthSpan span : {AzimuthSpan{kNaN, 1}, AzimuthSpan{-1, kNaN}, AzimuthSpan{kNaN, kNaN}}) {
    const BlockRange range = plan.blocksOf(span);
    EXPECT_GE(range.first, range.end);
  }
}

TEST_F(Plan, SpansBeyondTheRowAreCutToIt) {
  const PassPlan plan(64, 64, {}, 0);
  for (const AzimuthSpan span : {AzimuthSpan{-1e30f, 1e30f}, AzimuthSpan{-100, 100}}) {
    EXPECT_EQ(plan.blocksOf(span).first, 0u);
    EXPECT_EQ(plan.blocksOf(span).end, 8u);
  }
}

TEST_F(Plan, ColumnsHaveTheLongitudesOfTheirCentres) {
  PinList pins;
  pins.push_back(circlePin(0, 0, 1));
  for (const std::int32_t width : {1, 13, 64, 1000}) {
    const PassPlan plan(width, 64, pins, 0);
    for (std::int32_t x = 0; x < width; ++x) {
      const double exact = ((x + 0.5) / width - 0.5) * 2 * 3.14159265358979;
      EXPECT_NEAR(plan.azimuth()[x], exact, 1e-6);
      EXPECT_NEAR(plan.sinAzimuth()[x], std::sin(exact), 1e-6);
      EXPECT_NEAR(plan.cosAzimuth()[x], std::cos(exact), 1e-6);
    }
  }
}

TEST_F(Plan, TablesHoldTheCosineFromThePinsCentreToTheBit) {
  for (const float azimuth : {0.0f, 3.1f, -3.1f, 1.0f}) {
    for (const float radius : {0.2f, 1.0f, 2.5f}) {
      PinList pins;
      pins.push_back(circlePin(azimuth, 0.3f, radius));
      const PassPlan plan(203, 64, pins, 0);
      const PlannedPin& pin = plan.pins().front();
      std::uint32_t held = 0;
      for (std::uint32_t block = 0; block < plan.blocks(); ++block) {
        const float* table = plan.cosFromCentre(pin, block, 1);
        if (!table) continue;
        ++held;
        alignas(32) float expected[8];
        store(expected, cos(load(plan.azimuth() + 8 * block) - splat(azimuth)));
        EXPECT_EQ(std::memcmp(table, expected, sizeof expected), 0) << "block " << block;
      }
      EXPECT_GE(held, 3u);
    }
  }
}

TEST_F(Plan, TablesHoldEverySpanOfTheirPin) {
  for (const float azimuth : {0.0f, 3.1f, -3.1f, 1.0f, 3.0f}) {
    for (const float elevation : {0.0f, 0.9f, -1.2f}) {
      for (const float radius : {0.05f, 0.3f, 1.0f}) {
        PinList pins;
        pins.push_back(circlePin(azimuth, elevation, radius));
        const PassPlan plan(1024, 64, pins, 0);
        const PlannedPin& pin = plan.pins().front();
        for (std::int32_t y = 0; y < 512; ++y) {
          AzimuthSpans spans;
          pin.shape->azimuthSpans((0.5f - (static_cast<float>(y) + 0.5f) / 512) * kPi, spans);
          for (const AzimuthSpan& span : spans) {
            const BlockRange range = plan.blocksOf(span);
            EXPECT_NE(plan.cosFromCentre(pin, range.first, range.end - range.first), nullptr)
                << "azimuth " << azimuth << " elevation " << elevation << " radius " << radius << " row "
                << y;
          }
        }
      }
    }
  }
}

TEST_F(Plan, PinsOnTheFullPathHaveNoTable) {
  PinList pins;
  pins.push_back(circlePin(0, 0, 1));
  EXPECT_EQ(PassPlan(64, 64, pins, kNeedsCoordinates).pins().front().cosFromCentre, nullptr);
  EXPECT_NE(PassPlan(64, 64, pins, kNeedsSoftEdge).pins().front().cosFromCentre, nullptr);
}

TEST_F(Plan, WithoutPinsAllocatesNothingOfTheHost) {
  const auto before = FakeHost::instance().totalAllocations();
  const PassPlan plan(64, 64, {}, 0);
  EXPECT_EQ(FakeHost::instance().totalAllocations(), before);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
