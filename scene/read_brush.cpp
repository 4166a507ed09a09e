#include "scene/read_brush.h"

#include <algorithm>
#include <initializer_list>

#include "scene/scene_names.h"

namespace orv::scene {
namespace {

using hdri::BrushKind;
using Keys = std::vector<std::string_view>;

/// Keys that a brush of this kind has in this use.
Keys brushKeys(BrushKind kind, BrushUse use) {
  Keys keys{"type"};
  const auto add = [&](std::initializer_list<std::string_view> more) { keys.insert(keys.end(), more); };
  if (use == BrushUse::fill) add({"mode"});
  add({"brightness"});
  if (kind != BrushKind::color) add({"gamma", "hue", "saturation", "tint"});
  if (use == BrushUse::background && (kind == BrushKind::image || kind == BrushKind::sunSky))
    add({"blur", "rotation"});
  switch (kind) {
    case BrushKind::color:
      add({"color"});
      break;
    case BrushKind::gradient:
      add({"stops"});
      if (use == BrushUse::fill) add({"opacity", "angle"});
      break;
    case BrushKind::sunSky:
      add({"sky", "sun"});
      break;
    case BrushKind::image:
      add({"path"});
      break;
    case BrushKind::background:
      add({"turn", "tilt"});
      break;
  }
  return keys;
}

/// Keys of all kinds in both uses, for a brush whose type is not known.
Keys allBrushKeys() {
  Keys keys;
  for (const BrushKind kind : kBrushTypes.values)
    for (const BrushUse use : {BrushUse::background, BrushUse::fill})
      for (const std::string_view key : brushKeys(kind, use))
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
  return keys;
}

/// The brush's kind, as far as a look ahead can tell, so that its keys can be checked.
const BrushKind* kindOf(const JsonValue& value) {
  const auto* object = std::get_if<JsonObject>(&value.data);
  if (!object) return nullptr;
  for (const JsonMember& member : *object) {
    const auto* name = std::get_if<std::string>(&member.value.data);
    if (member.key != "type" || !name) continue;
    for (std::size_t i = 0; i < kBrushTypes.names.size(); ++i)
      if (kBrushTypes.names[i] == *name) return &kBrushTypes.values[i];
  }
  return nullptr;
}

bool suits(BrushKind kind, BrushUse use) {
  return kind != (use == BrushUse::fill ? BrushKind::sunSky : BrushKind::background);
}

/// Reports a type that is missing, misspelt or of no use here.
void checkType(ObjectReader& reader, BrushUse use) {
  Keys types;
  for (std::size_t i = 0; i < kBrushTypes.names.size(); ++i)
    if (suits(kBrushTypes.values[i], use)) types.push_back(kBrushTypes.names[i]);
  const std::string allowed = listOf(types);

  const JsonValue* value = reader.find("type", Need::required, allowed);
  if (!value) return;
  const auto* name = std::get_if<std::string>(&value->data);
  if (!name) return reader.report("type", *value, value->found() + " found; allowed: " + allowed);
  if (std::find(types.begin(), types.end(), *name) != types.end()) return;
  if (*name == "sunSky")
    return reader.report("type", *value, "\"sunSky\" can not fill a pin; allowed: " + allowed);
  if (*name == "background")
    return reader.report("type", *value, "\"background\" can not be the background; allowed: " + allowed);
  reader.report("type", *value,
                quotedText(*name) + " found" + suggestion(*name, types) + "; allowed: " + allowed);
}

void readAdjustments(ObjectReader& reader, hdri::Adjustments& adjustments) {
  reader.number("brightness", NumberRange::any(), adjustments.brightness);
  reader.number("gamma", NumberRange::above(0), adjustments.gamma);
  reader.number("hue", NumberRange::within(0, 1), adjustments.hueShift);
  reader.number("saturation", NumberRange::within(-1, 1), adjustments.saturation);
  hdri::Rgb tint{};
  if (!reader.color("tint", tint)) return;
  adjustments.tintRed = tint.r;
  adjustments.tintGreen = tint.g;
  adjustments.tintBlue = tint.b;
}

void readRotation(ObjectReader& reader, SceneBrush& brush) {
  constexpr std::string_view kKeys[] = {"azimuth", "tilt"};
  const JsonValue* value = reader.find("rotation", Need::optional, {});
  if (!value) return;
  const JsonPath path = reader.pathOf("rotation");
  ObjectReader rotation(*value, path, reader.problems(), kKeys, "a rotation");
  rotation.number("azimuth", NumberRange::within(0, 360), brush.rotationAzimuth);
  rotation.number("tilt", NumberRange::within(-180, 180), brush.rotationTilt);
}

void readStop(ObjectReader& reader, hdri::GradientStop& stop) {
  hdri::Rgb color{};
  reader.color("color", color, Need::required);
  stop.r = color.r;
  stop.g = color.g;
  stop.b = color.b;
  reader.number("intensity", NumberRange::any(), stop.intensity);
}

void readStop(ObjectReader& reader, hdri::CurveStop& stop) {
  reader.number("value", NumberRange::any(), stop.value, Need::required);
}

/// Reads an array of stops, whose positions must not fall.
template <typename Stop>
void readStops(ObjectReader& reader, std::string_view key, std::span<const std::string_view> keys,
               std::string_view owner, std::vector<Stop>& stops) {
  const JsonValue* value = reader.find(key, Need::optional, {});
  if (!value) return;
  const auto* array = std::get_if<JsonArray>(&value->data);
  if (!array) return reader.report(key, *value, value->found() + " found; allowed: an array of stops");
  const JsonPath path = reader.pathOf(key);
  const Stop* last = nullptr;
  stops.reserve(array->size());
  for (std::size_t i = 0; i < array->size(); ++i) {
    const JsonPath place = path.child(i);
    Stop& stop = stops.emplace_back();
    ObjectReader stopReader((*array)[i], place, reader.problems(), keys, owner);
    const bool placed = stopReader.number("position", NumberRange::any(), stop.position, Need::required);
    readStop(stopReader, stop);
    stopReader.number("slopeIn", NumberRange::any(), stop.slopeIn);
    stopReader.number("slopeOut", NumberRange::any(), stop.slopeOut);
    if (placed && last && stop.position < last->position) {
      const JsonValue* position = stopReader.find("position", Need::optional, {});
      stopReader.report("position", *position,
                        position->found() + " is below the position before it; allowed: at least " +
                            numberText(last->position));
    }
    if (placed) last = &stop;
  }
}

void readGradient(ObjectReader& reader, GradientPaint& gradient) {
  constexpr std::string_view kStopKeys[] = {"position", "color", "intensity", "slopeIn", "slopeOut"};
  constexpr std::string_view kOpacityKeys[] = {"position", "value", "slopeIn", "slopeOut"};
  readStops(reader, "stops", kStopKeys, "a stop", gradient.stops);
  readStops(reader, "opacity", kOpacityKeys, "an opacity stop", gradient.opacity);
  reader.number("angle", NumberRange::any(), gradient.angle);
}

void readSunSky(ObjectReader& reader, hdri::SkySettings& settings) {
  constexpr std::string_view kSkyKeys[] = {"turbidity",    "ozone",     "groundAlbedo", "skyIntensity",
                                           "sunIntensity", "sunSize",   "latitude",     "longitude",
                                           "hours",        "dayOfYear", "timeZone",     "northOffset"};
  constexpr std::string_view kSunKeys[] = {"azimuth", "elevation"};
  if (const JsonValue* value = reader.find("sky", Need::optional, {})) {
    const JsonPath path = reader.pathOf("sky");
    ObjectReader sky(*value, path, reader.problems(), kSkyKeys, "a sky");
    sky.number("turbidity", NumberRange::within(1, 10), settings.turbidity);
    sky.number("ozone", NumberRange::within(0, 3), settings.ozone);
    sky.number("groundAlbedo", NumberRange::within(0, 1), settings.groundAlbedo);
    sky.number("skyIntensity", NumberRange::atLeast(0), settings.skyIntensity);
    sky.number("sunIntensity", NumberRange::atLeast(0), settings.sunIntensity);
    sky.number("sunSize", NumberRange::within(0.1, 30), settings.sunSize);
    sky.number("latitude", NumberRange::within(-90, 90), settings.latitude);
    sky.number("longitude", NumberRange::within(-180, 180), settings.longitude);
    sky.number("hours", NumberRange::within(0, 24), settings.hours);
    std::int64_t day = settings.dayOfYear;
    sky.integer("dayOfYear", 1, 366, day);
    settings.dayOfYear = static_cast<std::uint32_t>(day);
    sky.number("timeZone", NumberRange::within(-12, 14), settings.timeZone);
    sky.number("northOffset", NumberRange::within(-360, 360), settings.northOffset);
  }
  if (const JsonValue* value = reader.find("sun", Need::optional, {})) {
    const JsonPath path = reader.pathOf("sun");
    ObjectReader sun(*value, path, reader.problems(), kSunKeys, "a sun");
    settings.sunFromAngles = 1;
    sun.number("azimuth", NumberRange::within(-360, 360), settings.sunAzimuth, Need::required);
    sun.number("elevation", NumberRange::within(-90, 90), settings.sunElevation, Need::required);
  }
}

void readPaint(ObjectReader& reader, BrushKind kind, SceneBrush& brush) {
  switch (kind) {
    case BrushKind::color:
      reader.color("color", brush.paint.emplace<ColorPaint>().color, Need::required);
      break;
    case BrushKind::gradient:
      readGradient(reader, brush.paint.emplace<GradientPaint>());
      break;
    case BrushKind::sunSky:
      readSunSky(reader, brush.paint.emplace<SunSkyPaint>().settings);
      break;
    case BrushKind::image:
      reader.path("path", brush.paint.emplace<ImagePaint>().path, Need::required);
      break;
    case BrushKind::background: {
      auto& background = brush.paint.emplace<BackgroundPaint>();
      reader.number("turn", NumberRange::any(), background.turn);
      reader.number("tilt", NumberRange::any(), background.tilt);
      break;
    }
  }
}

}  // namespace

SceneBrush readBrush(const JsonValue& value, const JsonPath& path, BrushUse use, Problems& problems) {
  SceneBrush brush;
  const BrushKind* kind = kindOf(value);
  const bool known = kind && suits(*kind, use);
  const Keys keys = known ? brushKeys(*kind, use) : allBrushKeys();
  std::string owner = "a brush";
  if (known)
    owner = "a " + std::string(kBrushTypes.nameOf(*kind)) + (use == BrushUse::fill ? " fill" : " background");
  ObjectReader reader(value, path, problems, keys, owner);
  checkType(reader, use);
  readAdjustments(reader, brush.adjustments);
  if (use == BrushUse::fill || !known) reader.name("mode", kModes, brush.mode, Need::optional);
  if (use == BrushUse::background || !known) {
    reader.number("blur", NumberRange::atLeast(0), brush.blur);
    readRotation(reader, brush);
  }
  if (kind) readPaint(reader, *kind, brush);
  return brush;
}

}  // namespace orv::scene
