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

TEST(SceneText, BreaksLinesThatAreTooLong) {
  Scene scene = colorScene();
  ScenePin pin;
  pin.name = "key";
  pin.shape = RectShape{14, 9, 2};
  pin.azimuth = -40;
  pin.elevation = 35.5f;
  pin.falloff = hdri::Falloff::rectBoxEdge;
  pin.fill.paint = ColorPaint{{1, 0.96f, 0.9f}};
  pin.fill.mode = hdri::BlendMode::add;
  pin.fill.adjustments.brightness = 30;
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
    scene.background = brush({0, 1, 2, 3});
    if (isMap(scene.background)) {
      scene.background.blur = between(0, 100);
      scene.background.rotationAzimuth = between(0, 360);
      scene.background.rotationTilt = between(-180, 180);
    }
    for (int i = integer(0, 4); i > 0; --i) scene.pins.push_back(pin());
    if (chance()) scene.view = R"({"exposure":1.5,"list":[1,-2,18446744073709551615,0.1,null,"x"]})";
    return scene;
  }

 private:
  static bool isMap(const SceneBrush& brush) {
    return brush.kind() == hdri::BrushKind::image || brush.kind() == hdri::BrushKind::sunSky;
  }
  bool chance() { return integer(0, 1) == 1; }
  int integer(int min, int max) { return std::uniform_int_distribution<int>(min, max)(random_); }
  float between(float min, float max) { return std::uniform_real_distribution<float>(min, max)(random_); }
  float any() { return std::ldexp(between(-1, 1), integer(-40, 40)); }
  float above0() { return std::ldexp(between(0.5f, 1), integer(-40, 40)); }

  SceneBrush brush(const std::vector<int>& kinds) {
    SceneBrush brush;
    switch (kinds[static_cast<std::size_t>(integer(0, static_cast<int>(kinds.size()) - 1))]) {
      case 0:
        brush.paint = ColorPaint{{any(), any(), any()}};
        break;
      case 1:
        brush.paint = gradient();
        break;
      case 2:
        brush.paint = sunSky();
        break;
      case 3:
        brush.paint = ImagePaint{"ä \"quoted\"\\.exr"};
        break;
      default:
        brush.paint = BackgroundPaint{any(), any()};
        break;
    }
    brush.adjustments.brightness = any();
    if (brush.kind() == hdri::BrushKind::color) return brush;
    brush.adjustments = {any(), above0(), between(0, 1), between(-1, 1), any(), any(), any()};
    return brush;
  }

  GradientPaint gradient() {
    GradientPaint paint;
    float position = 0;
    for (int i = integer(0, 4); i > 0; --i) {
      paint.stops.push_back({position, any(), any(), any(), any(), any(), any()});
      if (chance()) position += above0();
    }
    return paint;
  }

  SunSkyPaint sunSky() {
    SunSkyPaint paint;
    paint.settings = {between(1, 10), between(0, 3),    between(0, 1),      above0(),      above0(),
                      between(1, 30), between(-90, 90), between(-180, 180), between(0, 24)};
    paint.settings.dayOfYear = static_cast<std::uint32_t>(integer(1, 366));
    paint.settings.timeZone = between(-12, 14);
    paint.settings.northOffset = between(-360, 360);
    if (!chance()) return paint;
    paint.settings.sunFromAngles = 1;
    paint.settings.sunAzimuth = between(-180, 180);
    paint.settings.sunElevation = between(-90, 90);
    return paint;
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
    pin.falloff = hdri::Falloff::outline;
    if (chance()) {
      pin.shape = CircleShape{between(1, 180)};
      if (chance()) pin.falloff = hdri::Falloff::circleGaussianEdge;
    } else {
      pin.shape = RectShape{between(1, 89), between(1, 89), above0()};
      if (chance()) pin.falloff = hdri::Falloff::rectBoxProduct;
    }
    pin.fill = brush({0, 1, 3, 4});
    pin.fill.mode = static_cast<hdri::BlendMode>(integer(0, 3));
    if (auto* paint = std::get_if<GradientPaint>(&pin.fill.paint)) {
      paint->angle = any();
      paint->opacity = {{0, any(), any(), any()}, {1, any(), any(), any()}};
    }
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
  scene.background.adjustments.brightness = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THROW(sceneText(scene), SceneErrors);
  scene.background.adjustments.brightness = std::numeric_limits<float>::infinity();
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.size = {0, 1};
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.background.paint = ImagePaint{"\xff"};
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.view = "[1";
  EXPECT_THROW(sceneText(scene), SceneErrors);

  scene = colorScene();
  scene.pins.resize(1);
  scene.pins[0].shape = CircleShape{1};
  scene.pins[0].falloff = hdri::Falloff::rectBoxEdge;
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
