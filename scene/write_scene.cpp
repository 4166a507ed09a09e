#include "scene/write_scene.h"

#include <charconv>
#include <cmath>

#include "scene/OutputFile.h"
#include "scene/Problems.h"
#include "scene/json_text.h"
#include "scene/read_scene.h"

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

// Values as JSON.

/// A float as the shortest decimal number that reads back as it.
Json json(const Number&, float value) {
  constexpr float kExactIntegers = 16777216.0f;
  if (std::abs(value) <= kExactIntegers && value == std::floor(value))
    return static_cast<std::int64_t>(value);
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  double decimal = value;
  std::from_chars(buffer, end, decimal);
  return decimal;
}

Json json(const Integer&, std::int64_t value) { return value; }
Json json(Exposure, float) { return {}; }
Json json(Temperature, const std::tuple<const float&, const float&, const float&>&) { return {}; }
Json json(Flag, bool value) { return value; }
Json json(Text, const std::string& value) { return value; }
Json json(Size, const MapSize& size) { return Json::array({size.width, size.height}); }

Json json(Color, const std::tuple<const float&, const float&, const float&>& color) {
  const auto& [r, g, b] = color;
  return Json::array({json(Number(), r), json(Number(), g), json(Number(), b)});
}

Json json(FreeObject, const std::string& text) {
  if (text.empty()) return {};
  Problems problems("view");
  JsonValue value;
  parseJson(text, value, problems);
  problems.throwIfAny(text);
  return toJson(value);
}

/// A name of another use is written as the empty one, which the reader refuses.
template <typename Value>
Json json(const Name& type, Value value) {
  return std::string(nameOf(value, type.uses));
}

Json json(const Name&, std::string_view alternative) { return std::string(alternative); }

template <typename Keys, typename Given, typename Owner>
Json json(const Object<Keys, Given>& type, const Owner& owner);

template <typename Keys, typename Item>
Json json(const Array<Keys, Item>& type, const std::vector<Item>& items) {
  Json array = Json::array();
  for (const Item& item : items) array.push_back(json(Object{type.keys}, item));
  return array;
}

template <typename Keys, typename Given, typename Owner>
Json json(const Object<Keys, Given>& type, const Owner& owner) {
  if constexpr (!std::is_null_pointer_v<Given>)
    if (!(owner.*type.given)) return {};
  Json object = Json::object();
  type.keys.visit(owner, [&](const auto& key, const auto& value, const auto& fallback) {
    Json written = json(key.type, value);
    if (key.need == Need::optional && (written.empty() || written == json(key.type, fallback))) return;
    object[std::string(key.name)] = std::move(written);
    if (!key.insteadOf.empty()) object.erase(std::string(key.insteadOf));
  });
  return object;
}

std::string checkedText(const Scene& scene, const std::string& fileName) {
  std::string text;
  try {
    text = prettyText(json(Object{kSceneKeys}, scene));
  } catch (const Json::type_error&) {
    throw SceneErrors({{fileName, "scene", "a name or path is not UTF-8 text"}});
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
