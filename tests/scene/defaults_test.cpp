// A scene that does not say means what the painter's own records hold, but for what the table in
// docs/scene-format.md lists.

#include <gmock/gmock.h>

#include <fstream>
#include <set>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "scene/scene_brushes.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using ::testing::HasSubstr;

/// The table's rows, their first three cells.
std::set<std::string> documentedDifferences() {
  std::ifstream file(ORVHDRI_SOURCE_DIR "/docs/scene-format.md");
  std::set<std::string> rows;
  bool here = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) here = line == "## Defaults in C++";
    if (!here || !line.starts_with("| `")) continue;
    std::size_t end = 0;
    for (int i = 0; i < 3; ++i) end = line.find(" | ", end + 1);
    rows.insert(line.substr(2, end - 2));
  }
  return rows;
}

Scene sceneOf(const std::string& background) { return parseScene(withBackground(background), "s.json"); }
std::shared_ptr<hdri::Brush> brushOf(const std::string& background) {
  return backgroundBrush(sceneOf(background).background, "");
}
ScenePin pinOf(const std::string& members, const std::string& fill) {
  return parseScene(withPin(members, fill), "s.json").pins.front();
}

std::string numbers(std::initializer_list<float> values) {
  std::ostringstream text;
  for (const float value : values) text << (text.str().empty() ? "" : ", ") << value;
  return text.str();
}

/// The two numbers, or the one that both are.
std::string either(float a, float b) { return a == b ? numbers({a}) : numbers({a, b}); }

/// What a scene says has to be given.
void expectRequired(const std::string& text, const std::string& path) {
  EXPECT_THAT(errorsOf(text), HasSubstr("s.json: " + path + ": missing; required"));
}

TEST(Defaults, DifferFromThePaintersWhereTheTableSaysSo) {
  const std::set<std::string> rows = documentedDifferences();
  std::set<std::string> expected;
  const hdri::ColorBrush brush(1, 1, 1);
  const Scene scene = sceneOf(kWhite);
  const auto onOff = [](bool on) { return std::string(on ? "on" : "off"); };

  expected.insert("`mode` | `" + std::string(nameOf(pinOf(kCircle, kWhite).fill.mode)) + "` | `" +
                  std::string(nameOf(brush.mode())) + "`");
  expected.insert("`smoothing` | " + onOff(scene.smoothing) + " | " +
                  onOff(hdri::PainterOptions().smoothing != 0));
  expected.insert("`quality`: blur on the sphere | " + onOff(scene.quality == Quality::light) + " | " +
                  onOff(brush.blurOnSphere()));
  const auto counts = [](bool on) { return std::string(on ? "count" : "do not count"); };
  expected.insert("`blur`, `rotation` of a background | " + counts(brushOf(kWhite)->mapSettingsOn()) + " | " +
                  counts(brush.mapSettingsOn()));
  expected.insert("`size` | " + std::to_string(scene.size.width) + " x " + std::to_string(scene.size.height) +
                  " | " + std::to_string(brush.size().first) + " x " + std::to_string(brush.size().second));

  const hdri::CirclePinParams circle;
  const hdri::RectPinParams rect;
  expectRequired(withPin(R"("shape": "circle", "elevation": 0, "radius": 5)", kWhite), "pins[0].azimuth");
  expectRequired(withPin(R"("shape": "circle", "azimuth": 0, "radius": 5)", kWhite), "pins[0].elevation");
  EXPECT_EQ(rect.azimuth, circle.azimuth);
  EXPECT_EQ(rect.elevation, circle.elevation);
  expected.insert("`azimuth`, `elevation` of a pin | required | " + either(circle.azimuth, circle.elevation));
  const std::string centre = R"("azimuth": 0, "elevation": 0, )";
  expectRequired(withPin(centre + R"("shape": "circle")", kWhite), "pins[0].radius");
  expectRequired(withPin(centre + R"("shape": "rect", "halfHeight": 1)", kWhite), "pins[0].halfWidth");
  expectRequired(withPin(centre + R"("shape": "rect", "halfWidth": 1)", kWhite), "pins[0].halfHeight");
  EXPECT_EQ(rect.halfWidth, rect.halfHeight);
  expected.insert("`radius`, `halfWidth`, `halfHeight` | required | " +
                  either(circle.radius, rect.halfWidth));

  const hdri::SkySettings sky;
  expectRequired(withBackground(R"({"type": "sunSky", "sun": {"elevation": 1}})"), "background.sun.azimuth");
  expectRequired(withBackground(R"({"type": "sunSky", "sun": {"azimuth": 1}})"), "background.sun.elevation");
  expected.insert("`azimuth`, `elevation` of the sun | required | " +
                  numbers({sky.sunAzimuth, sky.sunElevation}));

  const auto stops = [](const std::string& key, const std::string& stop) {
    return withPin(kCircle, R"({"type": "gradient", ")" + key + R"(": [)" + stop + "]}");
  };
  const hdri::GradientStop stop;
  expectRequired(stops("stops", R"({"color": [1, 1, 1]})"), "pins[0].fill.stops[0].position");
  expectRequired(stops("stops", R"({"position": 1})"), "pins[0].fill.stops[0].color");
  EXPECT_EQ(numbers({stop.r, stop.g, stop.b}), "1, 1, 1");
  expected.insert("`position`, `color` of a stop | required | " + numbers({stop.position}) + ", white");
  const hdri::CurveStop opacity;
  expectRequired(stops("opacity", R"({"value": 1})"), "pins[0].fill.opacity[0].position");
  expectRequired(stops("opacity", R"({"position": 1})"), "pins[0].fill.opacity[0].value");
  expected.insert("`position`, `value` of an opacity stop | required | " +
                  numbers({opacity.position, opacity.value}));
  EXPECT_EQ(rows, expected);
}

TEST(Defaults, OfBrushesAreThePainters) {
  const hdri::Adjustments adjustments;
  const auto sameBase = [&](const hdri::Brush& made, const hdri::Brush& plain) {
    EXPECT_EQ(made.adjustments(), adjustments);
    EXPECT_EQ(plain.adjustments(), adjustments);
    EXPECT_EQ(made.enabled(), plain.enabled());
    EXPECT_EQ(made.blurAmount(), plain.blurAmount());
    EXPECT_EQ(made.tiltAngle1(), plain.tiltAngle1());
    EXPECT_EQ(made.tiltAngle2(), plain.tiltAngle2());
  };
  sameBase(*brushOf(kWhite), hdri::ColorBrush(1, 1, 1));
  const auto image = brushOf(R"({"type": "image", "path": "a.exr"})");
  sameBase(*image, hdri::ImageBrush("a.exr"));
  const auto sky = brushOf(R"({"type": "sunSky"})");
  sameBase(*sky, hdri::SunSkyBrush());
  EXPECT_EQ(dynamic_cast<const hdri::SunSkyBrush&>(*sky).settings(), hdri::SkySettings());
  const auto made = fillBrush(pinOf(kCircle, R"({"type": "gradient"})").fill, "");
  const auto& gradient = dynamic_cast<const hdri::GradientBrush&>(*made);
  sameBase(gradient, hdri::GradientBrush());
  EXPECT_EQ(gradient.angle(), hdri::GradientBrush().angle());
  EXPECT_EQ(gradient.stops(), hdri::GradientBrush().stops());
  EXPECT_EQ(gradient.curve(), hdri::GradientBrush().curve());
}

TEST(Defaults, OfStopsAreThePainters) {
  const Scene scene = sceneOf(R"({"type": "gradient", "stops": [{"position": 0, "color": [1, 1, 1]}]})");
  EXPECT_EQ(std::get<GradientPaint>(scene.background.paint).stops.front(), hdri::GradientStop());
  const ScenePin pin = pinOf(kCircle, R"({"type": "gradient", "opacity": [{"position": 0, "value": 1}]})");
  EXPECT_EQ(std::get<GradientFill>(pin.fill.paint).opacity.front(), hdri::CurveStop());
}

TEST(Defaults, OfPinsAreThePainters) {
  const ScenePin round = pinOf(kCircle, kWhite);
  const hdri::CirclePinParams circle = pinParams(round, std::get<CircleShape>(round.shape)), plain;
  EXPECT_EQ(circle.rotation, plain.rotation);
  EXPECT_EQ(circle.half, plain.half);
  EXPECT_EQ(circle.falloffKind, plain.falloffKind);
  EXPECT_EQ(circle.falloffAmount, plain.falloffAmount);
  const ScenePin square = pinOf(kRect, kWhite);
  const hdri::RectPinParams rect = pinParams(square, std::get<RectShape>(square.shape)), plainRect;
  EXPECT_EQ(rect.rotation, plainRect.rotation);
  EXPECT_EQ(rect.half, plainRect.half);
  EXPECT_EQ(rect.cornerRadius, plainRect.cornerRadius);
  EXPECT_EQ(rect.falloffKind, plainRect.falloffKind);
  EXPECT_EQ(rect.falloffAmount, plainRect.falloffAmount);
}

TEST(Defaults, OfAnEmptySceneAreThoseOfItsFile) {
  const Scene read = sceneOf(R"({"type": "color", "color": [1, 1, 1]})");
  EXPECT_EQ(read, Scene());
}

}  // namespace
}  // namespace orv::scene
