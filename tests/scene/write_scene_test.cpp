#include "scene/write_scene.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "scene/read_scene.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

Scene colorScene() {
  Scene scene;
  scene.background.paint = ColorPaint{{0.1f, 0.2f, 0.3f}};
  return scene;
}

TEST(SceneText, LeavesDefaultsOutAndWritesTheShortestNumbers) {
  EXPECT_EQ(sceneText(colorScene()), R"({
  "version": 1,
  "size": [2048, 1024],
  "background": {"type": "color", "color": [0.1, 0.2, 0.3]}
}
)");
}

/// A scene with a comment in every kind of object.
const char* const kCommented = R"({
  "$schema": "scene.schema.json",
  "comment": "of the scene",
  "version": 1,
  "size": [2048, 1024],
  "background": {
    "comment": "of the \"background\"",
    "type": "sunSky",
    "rotation": {"comment": "of a rotation by nothing"},
    "sky": {"comment": "of the sky", "hours": 12},
    "sun": {"comment": "of the sun", "azimuth": 0, "elevation": 30}
  },
  "pins": [
    {
      "comment": "of the first pin",
      "shape": "circle",
      "azimuth": 0,
      "elevation": 0,
      "radius": 5,
      "fill": {"comment": "of its fill", "type": "color", "color": [1, 1, 1]}
    },
    {
      "shape": "circle",
      "azimuth": 0,
      "elevation": 0,
      "radius": 5,
      "fill": {
        "type": "gradient",
        "stops": [
          {"position": 0, "color": [1, 1, 1]},
          {"comment": "of a stop", "position": 1, "color": [0, 0, 0]}
        ],
        "opacity": [{"comment": "of an opacity", "position": 0, "value": 1}]
      }
    }
  ]
}
)";

TEST(SceneText, KeepsCommentsAndTheSchema) {
  EXPECT_EQ(sceneText(parseScene(kCommented, "s.json")), kCommented);
}

TEST(SceneText, CommentsGoWithTheirPin) {
  Scene scene = parseScene(kCommented, "s.json");
  std::swap(scene.pins[0], scene.pins[1]);
  const std::string text = sceneText(scene);
  EXPECT_LT(text.find("of a stop"), text.find("of the first pin"));
  scene.pins.pop_back();
  EXPECT_EQ(sceneText(scene).find("of the first pin"), std::string::npos);
}

TEST(SceneText, CommentsOfWhatIsGoneAreLeftOut) {
  Scene scene = parseScene(kCommented, "s.json");
  scene.background.paint = ColorPaint{{1, 1, 1}};
  const std::string text = sceneText(scene);
  EXPECT_EQ(text.find("of the sun"), std::string::npos);
  EXPECT_NE(text.find("of the \\\"background"), std::string::npos);
}

TEST(SceneText, BreaksLinesThatAreTooLong) {
  Scene scene = colorScene();
  ScenePin pin;
  pin.name = "key";
  pin.shape = RectShape{14, 9, 2, hdri::Falloff::rectBoxEdge};
  pin.azimuth = -40;
  pin.elevation = 35.5f;
  pin.fill = {hdri::BlendMode::add, ColorPaint{{1, 0.96f, 0.9f}, 30}};
  scene.pins = {pin};
  EXPECT_THAT(sceneText(scene), HasSubstr(R"(
  "pins": [
    {
      "name": "key",
      "shape": "rect",
      "azimuth": -40,
      "elevation": 35.5,
      "halfWidth": 14,
      "halfHeight": 9,
      "cornerRadius": 2,
      "falloff": "boxEdge",
      "fill": {"type": "color", "mode": "add", "brightness": 30, "color": [1, 0.96, 0.9]}
    }
  ]
})"));
}

/// Scenes of all kinds with values from a seeded generator.
class SceneMaker {
 public:
  explicit SceneMaker(unsigned seed) : random_(seed) {}

  Scene make() {
    Scene scene;
    if (chance())
      scene.size = {integer(1, 65536), integer(1, 8192)};
    else
      scene.sizeFromImage = "size.exr";
    scene.smoothing = chance();
    switch (integer(0, 3)) {
      case 0:
        scene.background.paint = color();
        break;
      case 1:
        scene.background.paint = GradientPaint{stops(), adjustments()};
        break;
      case 2:
        scene.background.paint = SunSkyBackground{sunSky(), adjustments(), mapChanges()};
        break;
      default:
        scene.background.paint =
            ImageBackground{kImage, adjustments(), mapChanges(), static_cast<Layout>(integer(0, 6))};
        break;
    }
    for (int i = integer(0, 4); i > 0; --i) scene.pins.push_back(pin());
    if (chance()) scene.view = R"({"exposure":1.5,"list":[1,-2,18446744073709551615,0.1,null,"x"]})";
    return scene;
  }

 private:
  static constexpr const char* kImage = "ä \"quoted\"\\.exr";

  bool chance() { return integer(0, 1) == 1; }
  int integer(int min, int max) { return std::uniform_int_distribution<int>(min, max)(random_); }
  float between(float min, float max) { return std::uniform_real_distribution<float>(min, max)(random_); }
  float any() { return std::ldexp(between(-1, 1), integer(-40, 40)); }
  float above0() { return std::ldexp(between(0.5f, 1), integer(-40, 40)); }

  hdri::Adjustments adjustments() {
    return {any(), above0(), between(0, 1), between(-1, 1), any(), any(), any()};
  }

  MapChanges mapChanges() { return {between(0, 100), {between(0, 360), between(-180, 180)}}; }

  ColorPaint color() { return {{any(), any(), any()}, any()}; }

  std::vector<hdri::GradientStop> stops() {
    std::vector<hdri::GradientStop> stops;
    float position = 0;
    for (int i = integer(0, 4); i > 0; --i) {
      stops.push_back({position, any(), any(), any(), any(), any(), any()});
      if (chance()) position += above0();
    }
    return stops;
  }

  hdri::SkySettings sunSky() {
    hdri::SkySettings settings{between(1, 10), between(0, 3),    between(0, 1),      above0(),      above0(),
                               between(1, 30), between(-90, 90), between(-180, 180), between(0, 24)};
    settings.dayOfYear = static_cast<std::uint32_t>(integer(1, 366));
    settings.timeZone = between(-12, 14);
    settings.northOffset = between(-360, 360);
    if (!chance()) return settings;
    settings.sunFromAngles = 1;
    settings.sunAzimuth = between(-180, 180);
    settings.sunElevation = between(-90, 90);
    return settings;
  }

  Fill fill() {
    const auto mode = static_cast<hdri::BlendMode>(integer(0, 3));
    switch (integer(0, 3)) {
      case 0:
        return {mode, color()};
      case 1:
        return {mode,
                GradientFill{
                    {stops(), adjustments()}, {{0, any(), any(), any()}, {1, any(), any(), any()}}, any()}};
      case 2:
        return {mode, ImageFill{kImage, adjustments()}};
      default:
        return {mode, BackgroundFill{between(-360, 360), any(), adjustments()}};
    }
  }

  ScenePin pin() {
    ScenePin pin;
    if (chance()) pin.name = "pin";
    pin.enabled = chance();
    pin.half = chance();
    pin.azimuth = between(-180, 180);
    pin.elevation = between(-90, 90);
    pin.rotation = any();
    pin.falloffAmount = above0();
    hdri::Falloff falloff = hdri::Falloff::outline;
    if (chance()) {
      if (chance()) falloff = hdri::Falloff::circleGaussianEdge;
      pin.shape = CircleShape{between(1, 180), falloff};
    } else {
      if (chance()) falloff = hdri::Falloff::rectBoxProduct;
      pin.shape = RectShape{between(1, 89), between(1, 89), above0(), falloff};
    }
    pin.fill = fill();
    return pin;
  }

  std::mt19937 random_;
};

TEST(SceneText, ReadsBackAsTheSameScene) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    const Scene scene = SceneMaker(seed).make();
    const std::string text = sceneText(scene);
    EXPECT_EQ(parseScene(text, "s.json"), scene) << "seed " << seed << "\n" << text;
  }
}

TEST(SceneText, WritingAgainGivesTheSameBytes) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    const std::string text = sceneText(SceneMaker(seed).make());
    EXPECT_EQ(sceneText(parseScene(text, "s.json")), text) << "seed " << seed;
  }
}

TEST(SceneText, KeepsTheViewAndItsOrder) {
  const std::string view = R"({"z": {"b": [1, 2.5, "c"], "a": null}, "camera": 12345678901234567890})";
  const Scene scene = parseScene(withBackground(kWhite, ", \"view\": " + view), "s.json");
  EXPECT_THAT(sceneText(scene), HasSubstr("\"view\": " + view));
}

TEST(SceneText, RefusesWhatTheReaderWouldRefuse) {
  Scene scene = colorScene();
  scene.background.paint = ColorPaint{{1, 1, 1}, std::numeric_limits<float>::quiet_NaN()};
  EXPECT_THROW(sceneText(scene), SceneErrors);
  scene.background.paint = ColorPaint{{1, 1, 1}, std::numeric_limits<float>::infinity()};
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.size = {0, 1};
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.background.paint = ImageBackground{"\xff", {}, {}, {}};
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.view = "[1";
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.pins.resize(1);
  scene.pins[0].shape = CircleShape{1, hdri::Falloff::rectBoxEdge};
  EXPECT_THROW(sceneText(scene), SceneErrors);
  // The circle's own falloff of the same name is not taken in its place.
  scene.pins[0].shape = CircleShape{1, hdri::Falloff::rectCosine};
  EXPECT_THROW(sceneText(scene), SceneErrors);
}

TEST(WriteScene, LeavesTheOldFileWhenTheSceneIsWrong) {
  const fs::path path = fs::path(testing::TempDir()) / "orv_write_scene.json";
  writeScene(colorScene(), path.string());
  Scene wrong = colorScene();
  wrong.size = {0, 0};
  EXPECT_THROW(writeScene(wrong, path.string()), SceneErrors);
  EXPECT_EQ(readScene(path.string()), colorScene());
  fs::remove(path);
}

}  // namespace
}  // namespace orv::scene
