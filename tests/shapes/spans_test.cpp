// Row crossings of caps and the span list.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "shapes/AzimuthSpans.h"
#include "shapes/SphereCap.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

void expectSpans(const AzimuthSpans& spans, std::initializer_list<AzimuthSpan> expected) {
  ASSERT_EQ(spans.size(), expected.size());
  std::size_t i = 0;
  for (const AzimuthSpan& span : expected) {
    EXPECT_FLOAT_EQ(spans[i].begin, span.begin);
    EXPECT_FLOAT_EQ(spans[i].end, span.end);
    ++i;
  }
}

TEST(AzimuthSpans, StoresAnIntervalWithinTheRowAsItIs) {
  AzimuthSpans spans;
  spans.addInterval(-1.0f, 2.0f);
  expectSpans(spans, {{-1.0f, 2.0f}});
}

TEST(AzimuthSpans, CutsAnIntervalThatRunsPastMinusPi) {
  AzimuthSpans spans;
  spans.addInterval(-4.0f, -2.0f);
  expectSpans(spans, {{-kPi, -2.0f}, {2.2831853f, kPi}});
}

TEST(AzimuthSpans, CutsAnIntervalThatRunsPastPi) {
  AzimuthSpans spans;
  spans.addInterval(2.0f, 4.0f);
  expectSpans(spans, {{-kPi, -2.2831853f}, {2.0f, kPi}});
}

TEST(AzimuthSpans, KeepsTheWholeRowAsOneSpan) {
  AzimuthSpans spans;
  spans.addInterval(-kPi, kPi);
  expectSpans(spans, {{-kPi, kPi}});
}

TEST(AzimuthSpans, IntersectsWithAnIntervalInside) {
  AzimuthSpans spans;
  spans.addInterval(2.0f, 4.0f);
  spans.intersect(-2.5f, 2.5f);
  expectSpans(spans, {{-2.5f, -2.2831853f}, {2.0f, 2.5f}});
}

TEST(AzimuthSpans, IntersectsWithAnIntervalOverTheSeam) {
  AzimuthSpans spans;
  spans.reset();
  spans.intersect(2.0f, 4.0f);
  expectSpans(spans, {{-kPi, -2.2831853f}, {2.0f, kPi}});
  spans.intersect(-3.5f, -3.0f);
  expectSpans(spans, {{-kPi, -3.0f}, {2.7831853f, kPi}});
}

TEST(AzimuthSpans, OneSpanMayBecomeTwo) {
  AzimuthSpans spans;
  spans.addInterval(-2.0f, 3.0f);
  spans.intersect(2.5f, 5.0f);  // 2.5 to pi and -pi to -1.28
  expectSpans(spans, {{-2.0f, -1.2831853f}, {2.5f, 3.0f}});
}

TEST(AzimuthSpans, AnIntersectionWithAWholeTurnChangesNothing) {
  AzimuthSpans spans;
  spans.addInterval(0.5f, 1.0f);
  spans.intersect(-kPi, kPi);
  expectSpans(spans, {{0.5f, 1.0f}});
}

TEST(AzimuthSpans, AWholeTurnFromAnywhereCutsNothing) {
  AzimuthSpans spans;
  spans.addInterval(-1.0f, 3.0f);
  spans.intersect(-4.0f, kTwoPi - 4.0f);  // cut at 2.28 if it were not a whole turn
  expectSpans(spans, {{-1.0f, 3.0f}});
  spans.intersect(-4.0f, 5.0f);
  expectSpans(spans, {{-1.0f, 3.0f}});
}

TEST(AzimuthSpans, DropsPartsWithoutLength) {
  AzimuthSpans spans;
  spans.addInterval(0.5f, 1.0f);
  spans.intersect(1.0f, 2.0f);
  EXPECT_TRUE(spans.empty());
}

TEST(AzimuthSpans, HoldNothingOfIntervalsThatAreNoNumbers) {
  AzimuthSpans spans;
  spans.addInterval(kNaN, 1.0f);
  spans.addInterval(0.0f, kNaN);
  EXPECT_TRUE(spans.empty());
  spans.reset();
  spans.intersect(kNaN, kNaN);
  EXPECT_TRUE(spans.empty());
}

TEST(AzimuthSpans, KeepTheirStorageFromRowToRow) {
  AzimuthSpans spans;
  EXPECT_GE(spans.capacity(), 16u);
  const std::size_t capacity = spans.capacity();
  for (int row = 0; row < 1000; ++row) {
    spans.reset();
    for (int cap = 0; cap < 4; ++cap) spans.intersect(2.0f + 0.1f * static_cast<float>(cap), 4.5f);
  }
  EXPECT_EQ(spans.capacity(), capacity);
}

TEST(AzimuthSpans, GrowByHalf) {
  AzimuthSpans spans;
  for (int i = 0; i < 17; ++i) spans.addInterval(0.0f, 1.0f);
  EXPECT_EQ(spans.capacity(), 24u);
}

AzimuthSpan crossing(const SphereCap& cap, float row, bool& crosses) {
  AzimuthSpan interval{kNaN, kNaN};
  crosses = rowCrossing(cap, std::cos(row), std::sin(row), interval);
  return interval;
}

TEST(RowCrossing, OfTheEquatorIsTheRadius) {
  bool crosses;
  const AzimuthSpan interval = crossing(capAround(0.5f, 0, 0.25f), 0, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_NEAR(interval.begin, 0.25f, 1e-6);
  EXPECT_NEAR(interval.end, 0.75f, 1e-6);
}

TEST(RowCrossing, FollowsTheLawOfCosines) {
  // cos h = (cos 0.5 - sin 0.2 sin 0.4) / (cos 0.2 cos 0.4)
  const double half =
      std::acos((std::cos(0.5) - std::sin(0.2) * std::sin(0.4)) / (std::cos(0.2) * std::cos(0.4)));
  bool crosses;
  const AzimuthSpan interval = crossing(capAround(-1.0f, 0.4f, 0.5f), 0.2f, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_NEAR(interval.begin, -1.0 - half, 1e-6);
  EXPECT_NEAR(interval.end, -1.0 + half, 1e-6);
}

TEST(RowCrossing, MissesACapAboveOrBelow) {
  bool crosses;
  crossing(capAround(0, 0.5f, 0.2f), 0.2f, crosses);
  EXPECT_FALSE(crosses);
  crossing(capAround(0, 0.5f, 0.2f), 0.8f, crosses);
  EXPECT_FALSE(crosses);
}

TEST(RowCrossing, OfARowAtThePoleIsWhole) {
  bool crosses;
  const AzimuthSpan interval = crossing(capAround(0.3f, 0.5f, 0.2f), kHalfPi, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_EQ(interval, (AzimuthSpan{-kPi, kPi}));
}

TEST(RowCrossing, OfACapAtThePoleIsWhole) {
  bool crosses;
  const AzimuthSpan interval = crossing(capAround(0.3f, kHalfPi, 0.2f), 0.1f, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_EQ(interval, (AzimuthSpan{-kPi, kPi}));
}

TEST(RowCrossing, IsWholeWhereTheProductOfTheCosinesIsBelowOneInAMillion) {
  // A half space about the equator meets each row in half a turn.
  const SphereCap cap = halfSpace({1, 0, 0});
  AzimuthSpan interval;
  EXPECT_TRUE(rowCrossing(cap, 0.99e-6f, 0, interval));
  EXPECT_EQ(interval, (AzimuthSpan{-kPi, kPi}));
  EXPECT_TRUE(rowCrossing(cap, 1.01e-6f, 0, interval));
  EXPECT_NEAR(interval.end, kHalfPi, 1e-6);
}

TEST(RowCrossing, OfARowWithinTheCapIsWhole) {
  // The cap of radius 1 about elevation 1.2 holds the row at 1.4 on all sides: 1.4 + 1.2 > pi - 1.
  bool crosses;
  const AzimuthSpan interval = crossing(capAround(0.3f, 1.2f, 1.0f), 1.4f, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_EQ(interval, (AzimuthSpan{-kPi, kPi}));
}

TEST(HalfSpace, HasTheAnglesOfItsNormal) {
  const SphereCap cap = halfSpace(directionFromAngles(-2.0f, 0.7f));
  EXPECT_NEAR(cap.azimuth, -2.0f, 1e-6);
  EXPECT_NEAR(cap.elevation, 0.7f, 1e-6);
  EXPECT_EQ(cap.cosRadius, 0.0f);
  EXPECT_EQ(cap.radius, kHalfPi);
}

TEST(HalfSpace, OfARoundedNormalAtThePoleHasAnElevation) {
  EXPECT_FLOAT_EQ(halfSpace({0, 0, 1.0000001f}).elevation, kHalfPi);
}

TEST(HalfSpace, CrossesHalfOfEachRowAboutAnEquatorialNormal) {
  bool crosses;
  const AzimuthSpan interval = crossing(halfSpace({1, 0, 0}), 0.9f, crosses);
  EXPECT_TRUE(crosses);
  EXPECT_NEAR(interval.begin, -kHalfPi, 1e-6);
  EXPECT_NEAR(interval.end, kHalfPi, 1e-6);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
