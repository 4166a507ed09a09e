#include "scene/write_scene.h"

#include <charconv>
#include <cmath>

#include "scene/OutputFile.h"
#include "scene/Problems.h"
#include "scene/json_text.h"
#include "scene/read_scene.h"
#include "scene/scene_names.h"

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

/// A float as the shortest decimal number that reads back as it.
Json number(float value) {
  constexpr float kExactIntegers = 16777216.0f;
  if (std::abs(value) <= kExactIntegers && value == std::floor(value))
    return static_cast<std::int64_t>(value);
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  double decimal = value;
  std::from_chars(buffer, end, decimal);
  return decimal;
}

Json color(float r, float g, float b) { return Json::array({number(r), number(g), number(b)}); }

/// Writes members that differ from their default.
class ObjectWriter {
 public:
  void value(const char* key, Json value) { json_[key] = std::move(value); }
  void number(const char* key, float value, float fallback) {
    if (value != fallback) json_[key] = orv::scene::number(value);
  }
  void name(const char* key, std::string_view name) { json_[key] = std::string(name); }
  bool empty() const { return json_.empty(); }
  Json take() { return std::move(json_); }

 private:
  Json json_ = Json::object();
};

void writeSlopes(ObjectWriter& writer, float slopeIn, float slopeOut) {
  writer.number("slopeIn", slopeIn, 1);
  writer.number("slopeOut", slopeOut, 1);
}

Json stopJson(const hdri::GradientStop& stop) {
  ObjectWriter writer;
  writer.value("position", number(stop.position));
  writer.value("color", color(stop.r, stop.g, stop.b));
  writer.number("intensity", stop.intensity, 1);
  writeSlopes(writer, stop.slopeIn, stop.slopeOut);
  return writer.take();
}

Json stopJson(const hdri::CurveStop& stop) {
  ObjectWriter writer;
  writer.value("position", number(stop.position));
  writer.value("value", number(stop.value));
  writeSlopes(writer, stop.slopeIn, stop.slopeOut);
  return writer.take();
}

template <typename Stop>
void writeStops(ObjectWriter& writer, const char* key, const std::vector<Stop>& stops) {
  if (stops.empty()) return;
  Json array = Json::array();
  for (const Stop& stop : stops) array.push_back(stopJson(stop));
  writer.value(key, std::move(array));
}

void writePaint(ObjectWriter& writer, const ColorPaint& paint) {
  writer.value("color", color(paint.color.r, paint.color.g, paint.color.b));
}

void writePaint(ObjectWriter& writer, const GradientPaint& paint) {
  writer.number("angle", paint.angle, 0);
  writeStops(writer, "stops", paint.stops);
  writeStops(writer, "opacity", paint.opacity);
}

void writePaint(ObjectWriter& writer, const SunSkyPaint& paint) {
  const hdri::SkySettings fallback;
  const hdri::SkySettings& settings = paint.settings;
  ObjectWriter sky;
  sky.number("turbidity", settings.turbidity, fallback.turbidity);
  sky.number("ozone", settings.ozone, fallback.ozone);
  sky.number("groundAlbedo", settings.groundAlbedo, fallback.groundAlbedo);
  sky.number("skyIntensity", settings.skyIntensity, fallback.skyIntensity);
  sky.number("sunIntensity", settings.sunIntensity, fallback.sunIntensity);
  sky.number("sunSize", settings.sunSize, fallback.sunSize);
  sky.number("latitude", settings.latitude, fallback.latitude);
  sky.number("longitude", settings.longitude, fallback.longitude);
  sky.number("hours", settings.hours, fallback.hours);
  if (settings.dayOfYear != fallback.dayOfYear) sky.value("dayOfYear", settings.dayOfYear);
  sky.number("timeZone", settings.timeZone, fallback.timeZone);
  sky.number("northOffset", settings.northOffset, fallback.northOffset);
  if (!sky.empty()) writer.value("sky", sky.take());
  if (settings.sunFromAngles)
    writer.value("sun",
                 {{"azimuth", number(settings.sunAzimuth)}, {"elevation", number(settings.sunElevation)}});
}

void writePaint(ObjectWriter& writer, const ImagePaint& paint) { writer.value("path", paint.path); }

void writePaint(ObjectWriter& writer, const BackgroundPaint& paint) {
  writer.number("turn", paint.turn, 0);
  writer.number("tilt", paint.tilt, 0);
}

Json brushJson(const SceneBrush& brush) {
  const hdri::Adjustments& adjustments = brush.adjustments;
  ObjectWriter writer;
  writer.name("type", kBrushTypes.nameOf(brush.kind()));
  if (brush.mode != hdri::BlendMode::mix) writer.name("mode", kModes.nameOf(brush.mode));
  writer.number("brightness", adjustments.brightness, 1);
  writer.number("gamma", adjustments.gamma, 1);
  writer.number("hue", adjustments.hueShift, 0);
  writer.number("saturation", adjustments.saturation, 0);
  if (adjustments.tintRed != 1 || adjustments.tintGreen != 1 || adjustments.tintBlue != 1)
    writer.value("tint", color(adjustments.tintRed, adjustments.tintGreen, adjustments.tintBlue));
  writer.number("blur", brush.blur, 0);
  ObjectWriter rotation;
  rotation.number("azimuth", brush.rotationAzimuth, 0);
  rotation.number("tilt", brush.rotationTilt, 0);
  if (!rotation.empty()) writer.value("rotation", rotation.take());
  std::visit([&](const auto& paint) { writePaint(writer, paint); }, brush.paint);
  return writer.take();
}

Json pinJson(const ScenePin& pin) {
  ObjectWriter writer;
  if (!pin.name.empty()) writer.value("name", pin.name);
  if (!pin.enabled) writer.value("enabled", false);
  const auto* circle = std::get_if<CircleShape>(&pin.shape);
  writer.name("shape", kShapes.nameOf(circle ? PinShapeKind::circle : PinShapeKind::rect));
  writer.value("azimuth", number(pin.azimuth));
  writer.value("elevation", number(pin.elevation));
  writer.number("rotation", pin.rotation, 0);
  if (pin.half) writer.value("half", true);
  if (circle) {
    writer.value("radius", number(circle->radius));
  } else {
    const auto& rect = std::get<RectShape>(pin.shape);
    writer.value("halfWidth", number(rect.halfWidth));
    writer.value("halfHeight", number(rect.halfHeight));
    writer.number("cornerRadius", rect.cornerRadius, 0);
  }
  // A falloff of the other shape has no name here; the reader then refuses the empty one.
  if (pin.falloff != hdri::Falloff::solid)
    writer.name("falloff", circle ? kCircleFalloffs.nameOf(pin.falloff) : kRectFalloffs.nameOf(pin.falloff));
  writer.number("falloffAmount", pin.falloffAmount, 0.5f);
  writer.value("fill", brushJson(pin.fill));
  return writer.take();
}

Json viewJson(const std::string& view) {
  Problems problems("view");
  JsonValue value;
  parseJson(view, value, problems);
  problems.throwIfAny();
  return toJson(value);
}

Json sceneJson(const Scene& scene) {
  ObjectWriter writer;
  writer.value("version", 1);
  if (scene.sizeFromImage.empty())
    writer.value("size", Json::array({scene.size.width, scene.size.height}));
  else
    writer.value("sizeFromImage", scene.sizeFromImage);
  if (!scene.smoothing) writer.value("smoothing", false);
  writer.value("background", brushJson(scene.background));
  if (!scene.pins.empty()) {
    Json pins = Json::array();
    for (const ScenePin& pin : scene.pins) pins.push_back(pinJson(pin));
    writer.value("pins", std::move(pins));
  }
  if (!scene.view.empty()) writer.value("view", viewJson(scene.view));
  return writer.take();
}

std::string checkedText(const Scene& scene, const std::string& fileName) {
  std::string text;
  try {
    text = prettyText(sceneJson(scene));
  } catch (const Json::type_error&) {
    throw SceneErrors({fileName + ": scene: a name or path is not UTF-8 text"});
  }
  // What the reader refuses is not written.
  parseScene(text, fileName);
  return text;
}

}  // namespace

std::string sceneText(const Scene& scene) { return checkedText(scene, "scene"); }

void writeScene(const Scene& scene, const std::string& path) {
  const std::string text = checkedText(scene, path);
  OutputFile file(path);
  file.write(text.data(), text.size(), 0);
  file.finish();
  file.commit();
}

}  // namespace orv::scene
