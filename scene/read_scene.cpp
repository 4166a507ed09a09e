#include "scene/read_scene.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "scene/json_text.h"
#include "scene/read_brush.h"

namespace orv::scene {
namespace {

using Keys = std::vector<std::string_view>;

Keys pinKeys(const PinShapeKind* shape) {
  Keys keys{"name", "enabled", "shape", "azimuth", "elevation", "rotation", "half"};
  if (!shape || *shape == PinShapeKind::circle) keys.push_back("radius");
  if (!shape || *shape == PinShapeKind::rect)
    keys.insert(keys.end(), {"halfWidth", "halfHeight", "cornerRadius"});
  keys.insert(keys.end(), {"falloff", "falloffAmount", "fill"});
  return keys;
}

/// The pin's shape, as far as a look ahead can tell, so that its keys can be checked.
const PinShapeKind* shapeOf(const JsonValue& value) {
  const auto* object = std::get_if<JsonObject>(&value.data);
  if (!object) return nullptr;
  for (const JsonMember& member : *object) {
    const auto* name = std::get_if<std::string>(&member.value.data);
    if (member.key != "shape" || !name) continue;
    for (std::size_t i = 0; i < kShapes.names.size(); ++i)
      if (kShapes.names[i] == *name) return &kShapes.values[i];
  }
  return nullptr;
}

/// A falloff of the other shape is told from one that does not exist.
template <std::size_t n, std::size_t m>
void readFalloff(ObjectReader& reader, const NameTable<hdri::Falloff, n>& own,
                 const NameTable<hdri::Falloff, m>& others, std::string_view shape, hdri::Falloff& falloff) {
  const JsonValue* value = reader.find("falloff", Need::optional, {});
  const auto* name = value ? std::get_if<std::string>(&value->data) : nullptr;
  const auto has = [&](const auto& table) {
    return name && std::find(table.names.begin(), table.names.end(), *name) != table.names.end();
  };
  if (has(others) && !has(own))
    return reader.report("falloff", *value,
                         quotedText(*name) + " is not a falloff of a " + std::string(shape) +
                             "; allowed: " + listOf(own.names));
  reader.name("falloff", own, falloff, Need::optional);
}

void readCircle(ObjectReader& reader, Need need, CircleShape& circle) {
  reader.number("radius", NumberRange::above(0).to(180), circle.radius, need);
}

void readRect(ObjectReader& reader, Need need, RectShape& rect) {
  const NumberRange halfAngle = NumberRange::above(0).below(90);
  reader.number("halfWidth", halfAngle, rect.halfWidth, need);
  reader.number("halfHeight", halfAngle, rect.halfHeight, need);
  reader.number("cornerRadius", NumberRange::atLeast(0), rect.cornerRadius);
}

void readShape(ObjectReader& reader, const PinShapeKind* kind, ScenePin& pin) {
  if (!kind) {
    // Which keys are required can not be told, but what is there can be looked at.
    CircleShape circle;
    RectShape rect;
    readCircle(reader, Need::optional, circle);
    readRect(reader, Need::optional, rect);
  } else if (*kind == PinShapeKind::circle) {
    readCircle(reader, Need::required, pin.shape.emplace<CircleShape>());
    readFalloff(reader, kCircleFalloffs, kRectFalloffs, "circle", pin.falloff);
  } else {
    readRect(reader, Need::required, pin.shape.emplace<RectShape>());
    readFalloff(reader, kRectFalloffs, kCircleFalloffs, "rect", pin.falloff);
  }
}

ScenePin readPin(const JsonValue& value, const JsonPath& path, Problems& problems) {
  ScenePin pin;
  const PinShapeKind* shape = shapeOf(value);
  const Keys keys = pinKeys(shape);
  const std::string owner = shape ? "a " + std::string(kShapes.nameOf(*shape)) + " pin" : "a pin";
  ObjectReader reader(value, path, problems, keys, owner);
  reader.text("name", pin.name);
  reader.boolean("enabled", pin.enabled);
  PinShapeKind kind{};
  reader.name("shape", kShapes, kind, Need::required);
  reader.number("azimuth", NumberRange::within(-180, 180), pin.azimuth, Need::required);
  reader.number("elevation", NumberRange::within(-90, 90), pin.elevation, Need::required);
  reader.number("rotation", NumberRange::any(), pin.rotation);
  reader.boolean("half", pin.half);
  readShape(reader, shape, pin);
  reader.number("falloffAmount", NumberRange::atLeast(0), pin.falloffAmount);
  if (const JsonValue* fill = reader.find("fill", Need::required, "a brush"))
    pin.fill = readBrush(*fill, reader.pathOf("fill"), BrushUse::fill, problems);
  return pin;
}

void readSize(ObjectReader& reader, Scene& scene) {
  std::int64_t side[2] = {scene.size.width, scene.size.height};
  const bool fromImage = reader.path("sizeFromImage", scene.sizeFromImage);
  const JsonValue* size = reader.find("size", Need::optional, {});
  if (size && fromImage)
    reader.report("sizeFromImage", *size, "given together with size; allowed: one of the two");
  if (!reader.integerPair("size", 1, kMaxSide, side)) return;
  if (side[0] * side[1] > kMaxPixels)
    return reader.report("size", *size,
                         std::to_string(side[0]) + " x " + std::to_string(side[1]) + " is " +
                             std::to_string(side[0] * side[1]) + " pixels; allowed: at most " +
                             std::to_string(kMaxPixels));
  scene.size = {static_cast<int>(side[0]), static_cast<int>(side[1])};
}

/// The view is the tools' own, but for numbers that could not be given back.
void checkFinite(const JsonValue& value, const JsonPath& path, Problems& problems) {
  if (const auto* array = std::get_if<JsonArray>(&value.data)) {
    for (std::size_t i = 0; i < array->size(); ++i) checkFinite((*array)[i], path.child(i), problems);
  } else if (const auto* object = std::get_if<JsonObject>(&value.data)) {
    for (const JsonMember& member : *object) checkFinite(member.value, path.child(member.key), problems);
  } else if (std::holds_alternative<OverflowingNumber>(value.data)) {
    problems.add(value.order, path.text(), value.found() + " is not finite");
  }
}

void readView(ObjectReader& reader, Scene& scene) {
  const JsonValue* view = reader.find("view", Need::optional, {});
  if (!view) return;
  if (!std::holds_alternative<JsonObject>(view->data))
    return reader.report("view", *view, view->found() + " found; allowed: an object");
  checkFinite(*view, reader.pathOf("view"), reader.problems());
  scene.view = toJson(*view).dump();
}

Scene readDocument(const JsonValue& document, Problems& problems) {
  constexpr std::string_view kKeys[] = {"version",    "size", "sizeFromImage", "smoothing",
                                        "background", "pins", "view"};
  Scene scene;
  const JsonPath root;
  ObjectReader reader(document, root, problems, kKeys, "a scene");
  std::int64_t version = 0;
  reader.integer("version", 1, 1, version, Need::required);
  readSize(reader, scene);
  reader.boolean("smoothing", scene.smoothing);
  if (const JsonValue* background = reader.find("background", Need::required, "a brush"))
    scene.background = readBrush(*background, reader.pathOf("background"), BrushUse::background, problems);
  if (const JsonValue* pins = reader.find("pins", Need::optional, {})) {
    const JsonPath path = reader.pathOf("pins");
    if (const auto* array = std::get_if<JsonArray>(&pins->data)) {
      for (std::size_t i = 0; i < array->size(); ++i)
        scene.pins.push_back(readPin((*array)[i], path.child(i), problems));
    } else {
      reader.report("pins", *pins, pins->found() + " found; allowed: an array of pins");
    }
  }
  readView(reader, scene);
  return scene;
}

/// The file's bytes, and at most one more than a scene may have, so that devices without an end are no trap.
std::string readBytes(const std::string& path) {
  const auto fail = [&] { throw FileError(path + ": cannot be read: " + std::strerror(errno)); };
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "rb"));
  if (!file) fail();
  std::string bytes;
  char buffer[65536];
  while (bytes.size() <= kMaxSceneBytes) {
    const std::size_t n = std::fread(buffer, 1, sizeof buffer, file.get());
    bytes.append(buffer, n);
    if (n < sizeof buffer) break;
  }
  if (std::ferror(file.get())) fail();
  return bytes;
}

}  // namespace

Scene readScene(const std::string& path) { return parseScene(readBytes(path), path); }

Scene parseScene(std::string_view text, const std::string& fileName) {
  Problems problems(fileName);
  JsonValue document;
  Scene scene;
  if (parseJson(text, document, problems)) scene = readDocument(document, problems);
  problems.throwIfAny();
  return scene;
}

}  // namespace orv::scene
