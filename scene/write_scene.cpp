#include "scene/write_scene.h"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

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

/// Writes objects, and the comments that they keep where they were read.
class ObjectWriter {
 public:
  template <typename Keys, typename Given, typename Owner>
  Json write(const Object<Keys, Given>& type, const Owner& owner, const std::string& path) {
    if constexpr (!std::is_null_pointer_v<Given>)
      if (!(owner.*type.given)) return {};
    const CommentKeeper outer = comments_;
    if constexpr (requires { owner.comments; }) comments_ = {&owner.comments, path.size()};
    Json object = Json::object();
    const std::string* comment = commentAt(path);
    type.keys.visit(owner, [&](const auto& key, const auto& value, const auto& fallback) {
      // Editors look for the schema first.
      if (comment && key.name != "$schema")
        object[std::string(kCommentKey)] = *std::exchange(comment, nullptr);
      Json written = write(key.type, value, path + (path.empty() ? "" : ".") + std::string(key.name));
      if (key.need == Need::optional && (written.empty() || isDefault(key.type, written, fallback))) return;
      object[std::string(key.name)] = std::move(written);
      if (!key.insteadOf.empty()) object.erase(std::string(key.insteadOf));
    });
    comments_ = outer;
    return object;
  }

 private:
  /// Who keeps the comments of what is being written, and how long its own path is.
  struct CommentKeeper {
    const std::vector<Comment>* comments = nullptr;
    std::size_t pathSize = 0;
  };

  template <typename Keys, typename Item>
  Json write(const Array<Keys, Item>& type, const std::vector<Item>& items, const std::string& path) {
    Json array = Json::array();
    for (std::size_t i = 0; i < items.size(); ++i)
      array.push_back(write(Object{type.keys}, items[i], path + "[" + std::to_string(i) + "]"));
    return array;
  }
  template <typename Type, typename Value>
  Json write(const Type& type, const Value& value, const std::string&) {
    return json(type, value);
  }

  template <typename Type, typename Fallback>
  static bool isDefault(const Type& type, const Json& written, const Fallback& fallback) {
    // Objects are left out when nothing of them is written.
    if constexpr (requires { type.keys; })
      return false;
    else
      return written == json(type, fallback);
  }

  const std::string* commentAt(const std::string& path) const {
    if (!comments_.comments) return nullptr;
    std::string_view own = std::string_view(path).substr(std::min(comments_.pathSize, path.size()));
    if (own.starts_with('.')) own.remove_prefix(1);
    for (const Comment& comment : *comments_.comments)
      if (comment.path == own) return &comment.text;
    return nullptr;
  }

  CommentKeeper comments_;
};

std::string checkedText(const Scene& scene, const std::string& fileName) {
  std::string text;
  try {
    text = prettyText(ObjectWriter().write(Object{kSceneKeys}, scene, ""));
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
