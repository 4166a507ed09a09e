#include "scene/Setting.h"

#include <gmock/gmock.h>

#include "scene/SceneDocument.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using ::testing::HasSubstr;

const std::string kTwoPins =
    withBackground(kWhite, R"(, "pins": [{"name": "key", )" + kCircle + R"(, "fill": )" + kWhite +
                               R"(}, {"name": "a.b", )" + kRect + R"(, "fill": )" + kWhite + "}]");

/// The scene of two pins after settings `PATH=VALUE`.
Scene sceneWith(const std::vector<std::string>& settings) {
  SceneDocument document(kTwoPins, "s.json");
  for (const std::string& text : settings) {
    const auto [path, value] = splitSetting(text);
    document.set({path, settingValue(value, path)});
  }
  return document.read();
}

std::string errorWith(const std::string& setting) {
  try {
    sceneWith({setting});
    return {};
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(Setting, NamesAnItemByItsNumberOrItsName) {
  EXPECT_EQ(sceneWith({"pins[1].azimuth=30"}).pins[1].azimuth, 30);
  EXPECT_EQ(sceneWith({"pins.key.azimuth=-12.5"}).pins[0].azimuth, -12.5f);
  EXPECT_EQ(sceneWith({R"(pins["a.b"].azimuth=7)"}).pins[1].azimuth, 7);
}

TEST(Setting, AddsWhatIsMissing) {
  const Scene scene =
      sceneWith({R"(background={"type": "sunSky"})", "background.rotation.azimuth=90", "smoothing=false"});
  EXPECT_EQ(std::get<SunSkyBackground>(scene.background.paint).map.rotation.azimuth, 90);
  EXPECT_EQ(scene.smoothing, false);
  EXPECT_EQ(sceneWith({"pins.key.enabled=false"}).pins[0].enabled, false);
}

TEST(Setting, TakesAnyValue) {
  EXPECT_EQ(sceneWith({"size=[64, 32]"}).size, (MapSize{64, 32}));
  EXPECT_EQ(sceneWith({R"(background={"type": "color", "color": [1, 2, 3]})"}).background.paint,
            decltype(Background::paint)(ColorPaint{{1, 2, 3}, 1}));
  EXPECT_EQ(sceneWith({"pins.key.fill.mode=add"}).pins[0].fill.mode, hdri::BlendMode::add)
      << "without quotes";
  EXPECT_EQ(sceneWith({"pins.key.name=a=b"}).pins[0].name, "a=b") << "only the first = divides";
}

TEST(Setting, TheLastOneStands) {
  EXPECT_EQ(sceneWith({"pins.key.azimuth=1", "pins.key.azimuth=2"}).pins[0].azimuth, 2);
}

TEST(Setting, IsCheckedLikeTheSceneItself) {
  EXPECT_EQ(errorWith("pins.key.radius=-4"),
            "s.json: setting pins.key.radius: pins[0] \"key\": radius: -4 is not above 0; allowed: above 0 "
            "and at most 180");
  EXPECT_THAT(errorWith("pins.key.azimth=4"),
              HasSubstr("s.json: setting pins.key.azimth: pins[0] \"key\": azimth: not a key of a circle pin "
                        "(did you mean \"azimuth\"?)"));
  EXPECT_THAT(
      errorWith("pins.key.radius=wide"),
      HasSubstr(
          "s.json: setting pins.key.radius: pins[0] \"key\": radius: \"wide\" found; allowed: a number"));
}

TEST(Setting, WhatItBreaksInTheFileIsShownThere) {
  const std::string error = errorWith("pins.key.shape=rect");
  EXPECT_THAT(error, HasSubstr("s.json:1:78: pins[0] \"key\": halfWidth: missing"));
  EXPECT_THAT(error, HasSubstr("pins[0] \"key\": radius: not a key of a rect pin"));
}

TEST(Setting, ItsSyntaxErrorsGiveTheCharacter) {
  EXPECT_THAT(errorWith("size=[1, 2,]"), HasSubstr("size: character 7: nothing follows the comma"));
}

TEST(Setting, APathThatLeadsNowhereIsNamed) {
  EXPECT_EQ(errorWith("pins.kay.azimuth=1"),
            "s.json: pins.kay.azimuth: nothing in pins is named \"kay\" (did you mean \"key\"?); allowed: "
            "key, a.b");
  EXPECT_EQ(errorWith("pins[2].azimuth=1"), "s.json: pins[2].azimuth: pins has 2 items, numbered from 0");
  EXPECT_EQ(errorWith("version.major=1"), "s.json: version.major: version is 1 and has no keys");
  EXPECT_EQ(errorWith("version[0]=1"), "s.json: version[0]: version is 1 and has no items");
}

TEST(Setting, TwoItemsOfOneNameAreToldApartByNumbersAlone) {
  EXPECT_THAT(errorWith("pins[1].name=key"), "");
  SceneDocument document(kTwoPins, "s.json");
  document.set({"pins[1].name", settingValue("key", "pins[1].name")});
  EXPECT_THROW(document.set({"pins.key.azimuth", settingValue("1", "")}), SceneErrors);
}

TEST(Setting, WhatIsNoSettingIsSaidToBeNone) {
  for (const char* text :
       {"", "=1", "a", "pins[", "pins[1", "pins[x]=1", "pins[1]x=1", "a..b=1", "[0", "pins[-1]=2", "a.=1"})
    EXPECT_THROW(splitSetting(text), SettingError) << text;
  for (const char* text : {"", " ", "[1, 2", "{", "\"a"})
    EXPECT_THROW(settingValue(text, "a"), SettingError) << text;
}

}  // namespace
}  // namespace orv::scene
