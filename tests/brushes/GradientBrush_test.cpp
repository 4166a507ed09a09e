#include "hdri/GradientBrush.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace orv::hdri {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

GradientStop stop(float position, Rgb color, float slope = 1.0f, float intensity = 1.0f) {
  return {position, slope, slope, color.r, color.g, color.b, intensity};
}

std::shared_ptr<GradientBrush> gradient(std::vector<GradientStop> stops) {
  auto brush = std::make_shared<GradientBrush>();
  brush->setStops(std::move(stops));
  return brush;
}

constexpr Rgb kRed{1.0f, 0.0f, 0.0f};
constexpr Rgb kGreen{0.0f, 1.0f, 0.0f};
constexpr Rgb kBlue{0.0f, 0.0f, 1.0f};

TEST(GradientColor, IsWhiteWithoutStops) {
  EXPECT_EQ(GradientBrush().evalColor(0.3f), (Rgb{1.0f, 1.0f, 1.0f}));
}

TEST(GradientColor, OfOneStopIsThatStopsEverywhere) {
  const auto brush = gradient({stop(0.5f, kGreen)});
  for (const float t : {-1.0f, 0.5f, 2.0f, kNan}) EXPECT_EQ(brush->evalColor(t), kGreen) << t;
}

TEST(GradientColor, BlendsLinearlyWithSlopesOfOne) {
  EXPECT_EQ(gradient({stop(0.0f, kRed), stop(1.0f, kBlue)})->evalColor(0.25f), (Rgb{0.75f, 0.0f, 0.25f}));
}

TEST(GradientColor, EasesWithSlopesOfZero) {
  // 3 u^2 - 2 u^3 at 1/4 is 10/64.
  const Rgb color = gradient({stop(0.0f, kRed, 0.0f), stop(1.0f, kBlue, 0.0f)})->evalColor(0.25f);
  EXPECT_FLOAT_EQ(color.b, 0.15625f);
  EXPECT_FLOAT_EQ(color.r, 0.84375f);
}

TEST(GradientColor, TakesTheSlopesThatFaceTheSegment) {
  // Slope 2 out of the first, 0 into the second: 2 u - u^2 is 0.75 at 1/2.
  const auto brush =
      gradient({{0.0f, 9.0f, 2.0f, 0.0f, 0.0f, 0.0f, 1.0f}, {1.0f, 0.0f, 9.0f, 1.0f, 1.0f, 1.0f, 1.0f}});
  EXPECT_FLOAT_EQ(brush->evalColor(0.5f).g, 0.75f);
}

TEST(GradientColor, NeverLeavesTheTwoColoursOfItsSegment) {
  // Slopes of 30 overshoot far; the blend is limited to [0, 1].
  const auto brush = gradient({stop(0.0f, kRed, 30.0f), stop(1.0f, kBlue, 30.0f)});
  EXPECT_EQ(brush->evalColor(0.2f), kBlue);
  EXPECT_EQ(brush->evalColor(0.8f), kRed);
}

TEST(GradientColor, HoldsTheEndsExactly) {
  const auto brush = gradient({stop(0.2f, kRed), stop(0.8f, kBlue)});
  for (const float t : {-kInfinity, -5.0f, 0.0f, 0.2f}) EXPECT_EQ(brush->evalColor(t), kRed) << t;
  for (const float t : {0.8f, 1.0f, 7.0f, kInfinity}) EXPECT_EQ(brush->evalColor(t), kBlue) << t;
}

TEST(GradientColor, IncludesTheIntensity) {
  const auto brush = gradient({stop(0.0f, {0.5f, 0.5f, 0.5f}, 1.0f, 2.0f), stop(1.0f, kBlue)});
  EXPECT_EQ(brush->evalColor(0.0f), (Rgb{1.0f, 1.0f, 1.0f}));
}

/// The colour by the rule as it is written: step by step to the first stop behind t, else to the last.
float linearly(const std::vector<GradientStop>& stops, float t) {
  if (!(t > stops.front().position)) return stops.front().g;
  if (t >= stops.back().position) return stops.back().g;
  std::size_t i = 1;
  while (i + 1 < stops.size() && !(stops[i].position > t)) ++i;
  const GradientStop& a = stops[i - 1];
  const GradientStop& b = stops[i];
  if (a.position >= t) return a.g;
  if (t >= b.position) return b.g;
  const float u = (t - a.position) * (1.0f / (b.position - a.position));
  const float s =
      (((a.slopeOut + b.slopeIn - 2.0f) * u + (3.0f - 2.0f * a.slopeOut - b.slopeIn)) * u + a.slopeOut) * u;
  return a.g + (b.g - a.g) * (s > 0.0f ? std::min(s, 1.0f) : 0.0f);
}

TEST(GradientColor, IsThatOfTheFirstStopBehindForAnyListOfStops) {
  std::mt19937 random(12);
  std::uniform_real_distribution<float> number(0.0f, 1.0f);
  enum { ascending, doubled, unordered, broken, kinds };
  for (int round = 0; round < 2000; ++round) {
    SCOPED_TRACE(round);
    std::vector<GradientStop> stops;
    for (int n = 1 + static_cast<int>(random() % 40); n > 0; --n) {
      stops.push_back(stop(number(random), {0, number(random), 0}));
      stops.back().slopeIn = 3 * number(random);
      stops.back().slopeOut = 3 * number(random);
    }
    const int kind = round % kinds;
    if (kind == doubled)
      for (GradientStop& s : stops) s.position = std::round(8 * s.position) / 8;
    if (kind != unordered)
      std::sort(stops.begin(), stops.end(),
                [](const auto& a, const auto& b) { return a.position < b.position; });
    if (kind == broken)
      for (const float position : {kNan, kInfinity, -kInfinity, 0.5f})
        stops[random() % stops.size()].position = position;
    const auto brush = gradient(stops);
    std::vector<CurveStop> curve;
    for (const GradientStop& s : stops) curve.push_back({s.position, s.slopeIn, s.slopeOut, s.g});
    brush->setCurve(curve);
    std::vector<float> places{kNan, -kInfinity, kInfinity, 0, 1};
    for (const GradientStop& s : stops)
      places.insert(places.end(),
                    {s.position, std::nextafter(s.position, -9.0f), std::nextafter(s.position, 9.0f)});
    for (int i = 0; i < 30; ++i) places.push_back(number(random));
    for (const float t : places) {
      ASSERT_EQ(brush->evalColor(t).g, linearly(stops, t)) << t;
      ASSERT_EQ(brush->evalCurve(t), linearly(stops, t)) << t;
    }
  }
}

// One by one 140,000 stops at 200,000 places would be 14 billion steps; by halves they are 3.4 million.
TEST(GradientColor, IsFoundByHalves) {
  std::vector<GradientStop> stops;
  for (int i = 0; i < 140000; ++i)
    stops.push_back(stop(static_cast<float>(i), {0, static_cast<float>(i), 0}));
  const auto brush = gradient(std::move(stops));
  for (int i = 0; i < 200000; ++i) {
    const float t = static_cast<float>(i) * 0.5f;
    ASSERT_EQ(brush->evalColor(t).g, t);
  }
}

TEST(GradientColor, StartsTheLaterSegmentAtAStop) {
  const auto brush = gradient({stop(0.0f, kRed), stop(0.5f, kGreen), stop(0.5f, kBlue), stop(1.0f, kRed)});
  EXPECT_EQ(brush->evalColor(0.5f), kBlue);
  EXPECT_EQ(brush->evalColor(std::nextafter(0.5f, 0.0f)).b, 0.0f);
}

TEST(GradientColor, OfANanIsTheFirstStops) {
  EXPECT_EQ(gradient({stop(0.0f, kRed), stop(1.0f, kBlue)})->evalColor(kNan), kRed);
}

TEST(GradientColor, StaysAmongTheStopsWhenPositionsAreBroken) {
  // Falling and missing positions: any colour is fine that lies between the stops'.
  const auto brush = gradient(
      {stop(0.0f, kRed), stop(0.9f, kGreen), stop(kNan, kBlue), stop(0.1f, kRed), stop(1.0f, kBlue)});
  for (float t = -0.5f; t < 1.5f; t += 0.01f) {
    const Rgb color = brush->evalColor(t);
    for (const float c : {color.r, color.g, color.b}) EXPECT_TRUE(c >= 0.0f && c <= 1.0f) << t;
  }
}

TEST(GradientColor, TakesSlopesThatAreNotFinite) {
  const auto brush = gradient({stop(0.0f, kRed, kNan), stop(1.0f, kBlue, kInfinity)});
  const Rgb color = brush->evalColor(0.5f);
  EXPECT_TRUE(color.r >= 0.0f && color.r <= 1.0f);
}

TEST(GradientOpacity, IsOneWithoutStops) { EXPECT_EQ(GradientBrush().evalCurve(0.3f), 1.0f); }

TEST(GradientOpacity, BlendsBetweenItsStops) {
  GradientBrush brush;
  brush.setCurve({{0.0f, 1.0f, 1.0f, 0.5f}, {1.0f, 1.0f, 1.0f, 1.0f}});
  EXPECT_EQ(brush.evalCurve(-1.0f), 0.5f);
  EXPECT_EQ(brush.evalCurve(0.5f), 0.75f);
  EXPECT_EQ(brush.evalCurve(2.0f), 1.0f);
  EXPECT_EQ(brush.evalCurve(kNan), 0.5f);
}

TEST(GradientOpacity, EasesWithSlopesOfZero) {
  GradientBrush brush;
  brush.setCurve({{0.0f, 0.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f, 1.0f}});
  EXPECT_FLOAT_EQ(brush.evalCurve(0.25f), 0.15625f);
}

TEST(GradientOpacity, OfOneStopIsThatStopsEverywhere) {
  GradientBrush brush;
  brush.setCurve({{0.5f, 1.0f, 1.0f, 0.25f}});
  for (const float t : {0.0f, 0.5f, 1.0f, kNan}) EXPECT_EQ(brush.evalCurve(t), 0.25f);
}

TEST(GradientEquality, ComparesAngleStopsAndCurve) {
  const auto make = [] {
    const auto brush = gradient({stop(0.0f, kRed), stop(1.0f, kBlue)});
    brush->setCurve({{0.0f, 1.0f, 1.0f, 0.5f}});
    return brush;
  };
  EXPECT_TRUE(make()->equals(*make()));

  const auto turned = make();
  turned->setAngle(1.0f);
  EXPECT_FALSE(make()->equals(*turned));

  const auto shorter = make();
  shorter->setStops({stop(0.0f, kRed)});
  EXPECT_FALSE(make()->equals(*shorter));

  const auto opaque = make();
  opaque->setCurve({});
  EXPECT_FALSE(make()->equals(*opaque));
}

TEST(GradientEquality, ComparesAllSevenValuesOfAStop) {
  constexpr float GradientStop::*fields[] = {
      &GradientStop::position, &GradientStop::slopeIn, &GradientStop::slopeOut, &GradientStop::r,
      &GradientStop::g,        &GradientStop::b,       &GradientStop::intensity};
  for (float GradientStop::*field : fields) {
    GradientStop changed = stop(0.0f, kRed);
    changed.*field = 0.125f;
    EXPECT_FALSE(gradient({stop(0.0f, kRed)})->equals(*gradient({changed})));
  }
}

TEST(GradientEquality, ComparesAllFourValuesOfAnOpacityStop) {
  constexpr float CurveStop::*fields[] = {&CurveStop::position, &CurveStop::slopeIn, &CurveStop::slopeOut,
                                          &CurveStop::value};
  for (float CurveStop::*field : fields) {
    GradientBrush a;
    a.setCurve({CurveStop{}});
    GradientBrush b;
    CurveStop changed;
    changed.*field = 0.125f;
    b.setCurve({changed});
    EXPECT_FALSE(a.equals(b));
  }
}

TEST(GradientClone, HasTheSameStopsCurveAndAngle) {
  const auto brush = gradient({stop(0.0f, kRed), stop(1.0f, kBlue, 0.0f, 3.0f)});
  brush->setCurve({{0.25f, 0.5f, 0.75f, 0.125f}});
  brush->setAngle(30.0f);
  const auto copy = std::static_pointer_cast<GradientBrush>(brush->clone());
  EXPECT_EQ(copy->stops(), brush->stops());
  EXPECT_EQ(copy->curve(), brush->curve());
  EXPECT_EQ(copy->angle(), 30.0f);
}

TEST(GradientClone, DoesNotFollowItsSource) {
  const auto brush = gradient({stop(0.0f, kRed)});
  const auto copy = std::static_pointer_cast<GradientBrush>(brush->clone());
  brush->setStops({stop(0.0f, kBlue)});
  EXPECT_EQ(copy->evalColor(0.0f), kRed);
}

}  // namespace
}  // namespace orv::hdri
