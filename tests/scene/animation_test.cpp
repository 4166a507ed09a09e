#include "scene/animation.h"

#include <gmock/gmock.h>

#include <cmath>

#include "scene/SceneDocument.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using ::testing::HasSubstr;

/// The azimuth and the radius of a pin at a frame, given as values of a scene.
ScenePin pinAt(double frame, const std::string& azimuth, const std::string& radius = "5") {
  const std::string pin =
      R"("shape": "circle", "elevation": 0, "azimuth": )" + azimuth + R"(, "radius": )" + radius;
  return SceneDocument(withPin(pin, kWhite), "s.json").read(frame).pins[0];
}
float radiusAt(double frame, const std::string& radius) {
  return std::get<CircleShape>(pinAt(frame, "0", radius).shape).radius;
}
float azimuthAt(double frame, const std::string& azimuth) { return pinAt(frame, azimuth).azimuth; }

TEST(Animation, IsStraightBetweenKeysAndStaysBeyondThem) {
  const std::string keys = R"({"keys": [[10, 20], [20, 40], [30, 10]]})";
  EXPECT_EQ(radiusAt(1, keys), 20);
  EXPECT_EQ(radiusAt(10, keys), 20);
  EXPECT_EQ(radiusAt(12.5, keys), 25);
  EXPECT_EQ(radiusAt(20, keys), 40);
  EXPECT_EQ(radiusAt(25, keys), 25);
  EXPECT_EQ(radiusAt(99, keys), 10);
}

TEST(Animation, StepsHoldTheKeyBefore) {
  const std::string keys = R"({"keys": [[10, 20], [20, 40]], "interpolation": "step"})";
  EXPECT_EQ(radiusAt(19.9, keys), 20);
  EXPECT_EQ(radiusAt(20, keys), 40);
}

TEST(Animation, SmoothKeysStartAndEndAtRest) {
  // Between two keys at rest: 3 t^2 - 2 t^3.
  const std::string keys = R"({"keys": [[0, 10], [4, 20]], "interpolation": "smooth"})";
  EXPECT_NEAR(radiusAt(1, keys), 10 + 10 * (3.0 / 16 - 2.0 / 64), 1e-5);
  EXPECT_EQ(radiusAt(2, keys), 15);
}

TEST(Animation, SmoothKeysPassAStraightMiddleStraight) {
  // Steffen's slope at the middle of three keys on a line is the line's: 5 a frame. The Hermite cubic of the
  // first half has slopes 0 and 5: at its middle h(1/2) = (10 + 20) / 2 + (0 - 5) * 2 / 8.
  const std::string keys = R"({"keys": [[0, 10], [2, 20], [4, 30]], "interpolation": "smooth"})";
  EXPECT_NEAR(radiusAt(1, keys), 15 - 1.25, 1e-5);
  EXPECT_EQ(radiusAt(2, keys), 20);
}

TEST(Animation, SmoothKeysDoNotOvershoot) {
  const std::string keys =
      R"({"keys": [[0, 1], [1, 2], [2, 179], [3, 180], [9, 1]], "interpolation": "smooth"})";
  for (double frame = 0; frame <= 9; frame += 0.01) {
    const double radius = radiusAt(frame, keys);
    ASSERT_GE(radius, 1);
    ASSERT_LE(radius, 180);
  }
}

TEST(Animation, AzimuthsTakeTheShortWayRound) {
  const std::string keys = R"({"keys": [[0, 170], [10, -170]]})";
  EXPECT_EQ(azimuthAt(5, keys), 180);
  EXPECT_EQ(azimuthAt(7.5, keys), 185) << "which is -175";
  EXPECT_EQ(azimuthAt(10, keys), -170);
  EXPECT_EQ(azimuthAt(5, R"({"keys": [[0, -350], [10, 350]]})"), 0) << "from 10 to -10";
}

TEST(Animation, WholeTurnsGoByThirds) {
  const std::string keys = R"({"keys": [[0, 0], [1, 120], [2, 240], [3, 360]]})";
  for (const auto& [frame, azimuth] : {std::pair{0.5, 60.0}, {1.5, 180.0}, {2.5, 300.0}})
    EXPECT_NEAR(azimuthAt(frame, keys), azimuth, 1e-4);
}

TEST(Animation, ColorsAndObjectsMoveNumberByNumber) {
  const std::string text = withBackground(
      R"({"type": "sunSky", "sun": {"keys": [[0, {"azimuth": 170, "elevation": 10}],
          [2, {"azimuth": -170, "elevation": 30}]]}, "tint": {"keys": [[0, [0, 1, 2]], [2, [1, 1, 4]]]}})");
  const Scene scene = SceneDocument(text, "s.json").read(1);
  const auto& sky = std::get<SunSkyBackground>(scene.background.paint);
  EXPECT_EQ(sky.settings.sunAzimuth, 180);
  EXPECT_EQ(sky.settings.sunElevation, 20);
  EXPECT_EQ(sky.adjustments.tintRed, 0.5f);
  EXPECT_EQ(sky.adjustments.tintGreen, 1);
  EXPECT_EQ(sky.adjustments.tintBlue, 3);
}

TEST(Animation, WordsTakeSteps) {
  const std::string fill =
      R"({"type": "color", "color": [1, 1, 1], "mode": {"keys": [[1, "mix"], [5, "add"]]}})";
  const SceneDocument document(withPin(kCircle, fill), "s.json");
  EXPECT_EQ(document.read(4.9).pins[0].fill.mode, hdri::BlendMode::mix);
  EXPECT_EQ(document.read(5).pins[0].fill.mode, hdri::BlendMode::add);
}

TEST(Animation, WithoutAFrameItIsFrameOne) {
  const std::string text = withBackground(kWhite, R"(, "size": {"keys": [[1, [8, 4]], [2, [4, 2]]]})");
  EXPECT_EQ(parseScene(text, "s.json").size, (MapSize{8, 4}));
}

TEST(Animation, ViewIsLeftAlone) {
  const std::string text = withBackground(kWhite, R"(, "view": {"a": {"keys": [[1, 2]]}})");
  EXPECT_THAT(parseScene(text, "s.json").view, HasSubstr("keys"));
}

std::string errorOf(const std::string& azimuth, double frame = 1) {
  try {
    azimuthAt(frame, azimuth);
    return {};
  } catch (const SceneErrors& errors) {
    return findingsOf(errors);
  }
}

TEST(Animation, WhatIsWrongNamesThePlace) {
  EXPECT_EQ(errorOf(R"({"keys": []})"),
            "s.json: frame 1: pins[0].azimuth.keys: an array of 0 found; allowed: [[frame, value], ...], at "
            "least one");
  EXPECT_EQ(errorOf(R"({"keys": [[1, 2], [1, 3]]})"),
            "s.json: frame 1: pins[0].azimuth.keys[1][0]: 1 is not above the frame before it");
  EXPECT_EQ(errorOf(R"({"keys": [[1, 2], 3]})"),
            "s.json: frame 1: pins[0].azimuth.keys[1]: 3 found; allowed: [frame, value]");
  EXPECT_EQ(errorOf(R"({"keys": [[1, 2]], "interpolation": "smoth"})"),
            "s.json: frame 1: pins[0].azimuth.interpolation: \"smoth\" found (did you mean \"smooth\"?); "
            "allowed: linear, "
            "smooth, step");
  EXPECT_THAT(errorOf(R"({"keys": [[1, 2]], "ease": 1})"),
              HasSubstr("pins[0].azimuth.ease: not a key of a value that changes"));
}

TEST(Animation, TheReaderChecksWhatAFrameIs) {
  const std::string keys = R"({"keys": [[1, 0], [3, 400]], "interpolation": "step"})";
  EXPECT_EQ(errorOf(keys, 2), "");
  EXPECT_THAT(errorOf(keys, 3), HasSubstr("s.json: frame 3: pins[0].azimuth: 400 is above 360"));
}

TEST(Animation, ACommentBesideTheKeysIsNoPartOfTheValue) {
  EXPECT_EQ(azimuthAt(2, R"({"comment": "round", "keys": [[1, 0], [3, 20]]})"), 10);
  EXPECT_EQ(errorOf(R"({"comment": 1, "keys": [[1, 2]]})"),
            "s.json: frame 1: pins[0].azimuth.comment: 1 found; allowed: text in quotes");
  const std::string sun = R"({"type": "sunSky", "sun": {"keys": [
      [1, {"comment": "low", "azimuth": 0, "elevation": 10}], [3, {"azimuth": 0, "elevation": 30}]]}})";
  const Scene scene = SceneDocument(withBackground(sun), "s.json").read(2);
  EXPECT_EQ(std::get<SunSkyBackground>(scene.background.paint).settings.sunElevation, 20);
}

TEST(Animation, CheckLooksAtEveryKey) {
  const std::string pin =
      R"("shape": "circle", "elevation": 0, "azimuth": 0, "radius": {"keys": [[1, 5], [24, -4]]})";
  const SceneDocument document(withPin(pin, kWhite), "s.json");
  EXPECT_NO_THROW(document.read(1));
  EXPECT_THROW(document.check(), SceneErrors);
}

}  // namespace
}  // namespace orv::scene
