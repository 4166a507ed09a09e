#include "scene/read_scene.h"

#include <gmock/gmock.h>

#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using hdri::BlendMode;
using hdri::Falloff;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kStudio = R"({
  // A comment of one line.
  "version": 1,
  "size": [4096, 2048],
  "background": {"type": "image", "path": "studio.exr", "brightness": 0.8, "blur": 2.0,
                 "rotation": {"azimuth": 35, "tilt": -10}},
  /* A comment
     of two lines. */
  "pins": [
    {"name": "key", "shape": "rect", "azimuth": -40, "elevation": 35, "halfWidth": 14, "halfHeight": 9,
     "cornerRadius": 2, "falloff": "boxEdge", "falloffAmount": 0.2,
     "fill": {"type": "color", "color": [1.0, 0.96, 0.9], "brightness": 30, "mode": "add"}},
    {"name": "rim", "enabled": false, "shape": "circle", "azimuth": 150, "elevation": 20, "radius": 12,
     "rotation": 15, "half": true, "falloff": "smoothEdge", "falloffAmount": 0.6,
     "fill": {"type": "gradient", "mode": "screen", "angle": 45,
              "stops": [{"position": 0, "color": [1, 1, 1], "intensity": 12},
                        {"position": 1, "color": [0.4, 0.6, 1], "slopeIn": 0, "slopeOut": 0.5}],
              "opacity": [{"position": 0.7, "value": 1}, {"position": 1, "value": 0}]}}
  ],
  "view": {"exposure": 1.5}
})";

TEST(ReadScene, TakesEachValueFromItsKey) {
  const Scene scene = parseScene(kStudio, "s.json");
  EXPECT_EQ(scene.size, (MapSize{4096, 2048}));
  const auto& image = std::get<ImageBackground>(scene.background.paint);
  EXPECT_EQ(image.path, "studio.exr");
  EXPECT_EQ(image.adjustments.brightness, 0.8f);
  EXPECT_EQ(image.map.blur, 2.0f);
  EXPECT_EQ(image.map.rotation, (Rotation{35, -10}));
  EXPECT_EQ(scene.view, R"({"exposure":1.5})");

  ASSERT_EQ(scene.pins.size(), 2u);
  const ScenePin& key = scene.pins[0];
  EXPECT_EQ(key.name, "key");
  EXPECT_EQ(key.azimuth, -40.0f);
  EXPECT_EQ(key.elevation, 35.0f);
  EXPECT_EQ(std::get<RectShape>(key.shape), (RectShape{14, 9, 2, Falloff::rectBoxEdge}));
  EXPECT_EQ(key.falloffAmount, 0.2f);
  EXPECT_EQ(key.fill.mode, BlendMode::add);
  EXPECT_EQ(std::get<ColorPaint>(key.fill.paint), (ColorPaint{{1.0f, 0.96f, 0.9f}, 30}));

  const ScenePin& rim = scene.pins[1];
  EXPECT_FALSE(rim.enabled);
  EXPECT_TRUE(rim.half);
  EXPECT_EQ(rim.rotation, 15.0f);
  EXPECT_EQ(std::get<CircleShape>(rim.shape), (CircleShape{12, Falloff::circleSmoothEdge}));
  EXPECT_EQ(rim.fill.mode, BlendMode::screen);
  const auto& gradient = std::get<GradientFill>(rim.fill.paint);
  EXPECT_EQ(gradient.angle, 45.0f);
  EXPECT_THAT(gradient.gradient.stops, ElementsAre(hdri::GradientStop{0, 1, 1, 1, 1, 1, 12},
                                                   hdri::GradientStop{1, 0, 0.5f, 0.4f, 0.6f, 1, 1}));
  EXPECT_THAT(gradient.opacity, ElementsAre(hdri::CurveStop{0.7f, 1, 1, 1}, hdri::CurveStop{1, 1, 1, 0}));
}

TEST(ReadScene, GivesDefaultsToMissingKeys) {
  const Scene scene = parseScene(withPin(kCircle, kWhite), "s.json");
  EXPECT_EQ(scene.size, (MapSize{2048, 1024}));
  EXPECT_TRUE(scene.smoothing);
  EXPECT_EQ(scene.view, "");
  const ScenePin& pin = scene.pins.at(0);
  EXPECT_TRUE(pin.enabled);
  EXPECT_FALSE(pin.half);
  EXPECT_EQ(pin.name, "");
  EXPECT_EQ(pin.rotation, 0.0f);
  EXPECT_EQ(std::get<CircleShape>(pin.shape).falloff, Falloff::solid);
  EXPECT_EQ(pin.falloffAmount, 0.5f);
  EXPECT_EQ(pin.fill.mode, BlendMode::mix);
  EXPECT_EQ(std::get<ColorPaint>(pin.fill.paint).brightness, 1.0f);
}

TEST(ReadScene, ReadsSunAndSky) {
  const Scene scene = parseScene(
      withBackground(
          R"({"type": "sunSky", "sky": {"turbidity": 6, "ozone": 2, "groundAlbedo": 0.5, "skyIntensity": 3,
              "sunIntensity": 4, "sunSize": 0.1, "latitude": -33.5, "longitude": 151.25, "hours": 17.5,
              "dayOfYear": 355, "timeZone": 11, "northOffset": -90}, "sun": {"azimuth": -120, "elevation": 35}})"),
      "s.json");
  const hdri::SkySettings& sky = std::get<SunSkyBackground>(scene.background.paint).settings;
  EXPECT_EQ(sky.turbidity, 6.0f);
  EXPECT_EQ(sky.ozone, 2.0f);
  EXPECT_EQ(sky.groundAlbedo, 0.5f);
  EXPECT_EQ(sky.skyIntensity, 3.0f);
  EXPECT_EQ(sky.sunIntensity, 4.0f);
  EXPECT_EQ(sky.sunSize, 0.1f);
  EXPECT_EQ(sky.latitude, -33.5f);
  EXPECT_EQ(sky.longitude, 151.25f);
  EXPECT_EQ(sky.hours, 17.5f);
  EXPECT_EQ(sky.dayOfYear, 355u);
  EXPECT_EQ(sky.timeZone, 11.0f);
  EXPECT_EQ(sky.northOffset, -90.0f);
  EXPECT_EQ(sky.sunFromAngles, 1);
  EXPECT_EQ(sky.sunAzimuth, -120.0f);
  EXPECT_EQ(sky.sunElevation, 35.0f);
}

TEST(ReadScene, WithoutASunTheSkyFollowsItsPlaceAndTime) {
  const Scene scene = parseScene(withBackground(R"({"type": "sunSky"})"), "s.json");
  EXPECT_EQ(std::get<SunSkyBackground>(scene.background.paint).settings, hdri::SkySettings{});
}

TEST(ReadScene, ReadsARotatedBackgroundAsFill) {
  const Scene scene =
      parseScene(withPin(kRect, R"({"type": "background", "turn": -340, "tilt": -20})"), "s.json");
  EXPECT_EQ(std::get<BackgroundFill>(scene.pins.at(0).fill.paint), (BackgroundFill{-340, -20, {}}));
}

TEST(ReadScene, ReadsAllAdjustments) {
  const Scene scene =
      parseScene(withBackground(R"({"type": "image", "path": "a", "brightness": -1, "gamma": 2.2,
      "hue": 0.25, "saturation": -0.5, "tint": [1, 2, 3]})"),
                 "s.json");
  EXPECT_EQ(std::get<ImageBackground>(scene.background.paint).adjustments,
            (hdri::Adjustments{-1, 2.2f, 0.25f, -0.5f, 1, 2, 3}));
}

struct Named {
  const char* name;
  Falloff falloff;
};

TEST(ReadScene, KnowsTheFalloffsOfACircle) {
  for (const auto& [name, falloff] :
       {Named{"cosine", Falloff{16}}, Named{"linear", Falloff{17}}, Named{"quadratic", Falloff{18}},
        Named{"smoothEdge", Falloff{19}}, Named{"gaussianEdge", Falloff{20}}, Named{"outline", Falloff{256}},
        Named{"solid", Falloff{512}}}) {
    const std::string text = withPin(kCircle + ", \"falloff\": \"" + name + "\"", kWhite);
    EXPECT_EQ(std::get<CircleShape>(parseScene(text, "s.json").pins[0].shape).falloff, falloff) << name;
  }
}

TEST(ReadScene, KnowsTheFalloffsOfARectangle) {
  for (const auto& [name, falloff] :
       {Named{"cosine", Falloff{32}}, Named{"linear", Falloff{33}}, Named{"quadratic", Falloff{34}},
        Named{"boxEdge", Falloff{35}}, Named{"boxProduct", Falloff{36}}, Named{"boxGaussian", Falloff{37}},
        Named{"outline", Falloff{256}}, Named{"solid", Falloff{512}}}) {
    const std::string text = withPin(kRect + ", \"falloff\": \"" + name + "\"", kWhite);
    EXPECT_EQ(std::get<RectShape>(parseScene(text, "s.json").pins[0].shape).falloff, falloff) << name;
  }
}

TEST(ReadScene, PositionsMayRepeat) {
  EXPECT_EQ(errorsOf(withBackground(R"({"type": "gradient", "stops": [
    {"position": 0.5, "color": [0, 0, 0]}, {"position": 0.5, "color": [1, 1, 1]}]})")),
            "");
}

TEST(ReadScene, KeepsTextsOfOtherLanguages) {
  const Scene scene =
      parseScene(withPin(kCircle + R"(, "name": "F\u00fchrungslicht \ud83d\udca1 右")", kWhite), "s.json");
  EXPECT_EQ(scene.pins[0].name, "Führungslicht 💡 右");
}

TEST(ReadScene, NamesAMissingFile) {
  try {
    readScene("/nonexistent/scene.json");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "/nonexistent/scene.json: cannot be read: No such file or directory");
  }
}

TEST(ReadScene, RefusesAFolder) { EXPECT_THROW(readScene("/"), FileError); }

TEST(ReadScene, EndsOnADeviceWithoutAnEnd) {
  try {
    readScene("/dev/zero");
    FAIL();
  } catch (const SceneErrors& errors) {
    EXPECT_THAT(errors.what(), HasSubstr("longer than the 16 MiB allowed"));
  }
}

TEST(ReadScene, CommasAreSpokenOfInWords) {
  EXPECT_EQ(errorsOf("{\"version\": 1,}"),
            "s.json:1:15: nothing follows the comma before this }; remove the comma");
  EXPECT_EQ(errorsOf("{\"size\": [1, 2,]}"),
            "s.json:1:16: nothing follows the comma before this ]; remove the comma");
  EXPECT_EQ(errorsOf("{\"version\": 1\n \"size\": [1, 2]}"),
            "s.json:2:2: a comma is missing before \"size\"");
  EXPECT_EQ(errorsOf("{\"size\": [1 2]}"), "s.json:1:13: a comma is missing before 2");
}

TEST(ReadScene, AMisplacedKeyIsToldWhereItBelongs) {
  EXPECT_THAT(errorsOf(withBackground(R"({"type": "sunSky", "hours": 12})")),
              ::testing::HasSubstr("s.json: background.hours: not a key of a sunSky background (it belongs "
                                   "in \"sky\"); allowed: type"));
  EXPECT_THAT(
      errorsOf(withPin(kCircle + R"(, "mode": "add")", kWhite)),
      ::testing::HasSubstr("pins[0].mode: not a key of a circle pin (it belongs in \"fill\"); allowed: "));
}

TEST(ReadScene, APictureIsCalledOne) {
  try {
    readScene(ORVHDRI_SOURCE_DIR "/examples/venice.exr");
    FAIL();
  } catch (const SceneErrors& errors) {
    EXPECT_THAT(errors.what(),
                ::testing::HasSubstr("venice.exr: scene: an EXR picture found; allowed: a scene"));
  }
}

}  // namespace
}  // namespace orv::scene
