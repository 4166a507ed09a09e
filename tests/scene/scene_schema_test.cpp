#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "scene/Scene.h"
#include "scene/json_tree.h"

// The schema says of each key what its description says: type, range, names, default, whether it is required.

namespace orv::scene {
namespace {

using Json = nlohmann::json;

// What a description asks of the schema.

/// As people write it: the shortest text that gives the float back.
Json number(float value) {
  std::ostringstream text;
  text << value;
  return Json::parse(text.str());
}

Json schemaOf(const Number& type) {
  constexpr double kMost = std::numeric_limits<float>::max();
  return {{"type", "number"},
          {type.minExcluded ? "exclusiveMinimum" : "minimum", std::max(type.min, -kMost)},
          {type.maxExcluded ? "exclusiveMaximum" : "maximum", std::min(type.max, kMost)}};
}
Json schemaOf(Exposure) { return schemaOf(Number::within(-64, 64)); }
Json schemaOf(Temperature) { return schemaOf(Number::within(1000, 40000)); }
Json schemaOf(const Integer& type) {
  if (type.min == type.max) return {{"const", type.min}};
  return {{"type", "integer"}, {"minimum", type.min}, {"maximum", type.max}};
}
Json schemaOf(Flag) { return {{"type", "boolean"}}; }
Json schemaOf(Text type) {
  if (!type.isPath) return {{"type", "string"}};
  return {{"type", "string"}, {"minLength", 1}, {"pattern", "^[^\\u0000]*$"}};
}
Json arrayOf(Json items, int count) {
  items["changes"] = true;
  return {{"type", "array"}, {"items", std::move(items)}, {"minItems", count}, {"maxItems", count}};
}
Json schemaOf(Color) { return arrayOf(schemaOf(Number()), 3); }
Json schemaOf(Size) { return arrayOf(schemaOf(Integer{1, kMaxSide}), 2); }
Json schemaOf(FreeObject) { return {{"type", "object"}}; }
Json schemaOf(const Name& type) {
  Json names = Json::array();
  for (const NameRow& row : type.names)
    if ((row.uses & type.uses) != 0) names.push_back(std::string(row.name));
  return {{"enum", names}};
}

// The default of a value, null for what has none to show.

Json defaultOf(const Number&, float value) { return number(value); }
Json defaultOf(Exposure, float) { return 0; }
template <typename Value>
Json defaultOf(const Integer&, const Value& value) {
  return value;
}
Json defaultOf(Flag, bool value) { return value; }
Json defaultOf(Color, const std::tuple<const float&, const float&, const float&>& color) {
  return {number(std::get<0>(color)), number(std::get<1>(color)), number(std::get<2>(color))};
}
Json defaultOf(Size, const MapSize& size) { return {size.width, size.height}; }
template <typename Value>
Json defaultOf(const Name&, Value value) {
  if constexpr (std::is_enum_v<Value>) return std::string(nameOf(value));
  return nullptr;
}
template <typename Keys, typename Item>
Json defaultOf(const Array<Keys, Item>&, const std::vector<Item>&) {
  return Json::array();
}
template <typename Type, typename Value>
Json defaultOf(const Type&, const Value&) {
  return nullptr;
}

template <typename Keys, typename Owner>
Json objectSchema(const Keys& keys, Owner& owner);

Json memberSchema(const Name&, std::string_view name) { return {{"const", std::string(name)}}; }
template <typename Keys, typename Given, typename Owner>
Json memberSchema(const Object<Keys, Given>& type, const Owner&) {
  Owner owner;
  return objectSchema(type.keys, owner);
}
template <typename Keys, typename Item>
Json memberSchema(const Array<Keys, Item>& type, const std::vector<Item>&) {
  Item item;
  return {{"type", "array"}, {"items", objectSchema(type.keys, item)}};
}
template <typename Type, typename Value>
Json memberSchema(const Type& type, const Value&) {
  return schemaOf(type);
}

// Whether a value may change with time, as the schema knows it: not for objects, texts for people and what
// decides over other keys.

template <typename Type, typename Value>
bool mayChange(const Type&, const Value&) {
  return true;
}
template <typename Keys, typename Given, typename Owner>
bool mayChange(const Object<Keys, Given>&, const Owner&) {
  return false;
}
template <typename Value>
bool mayChange(const Integer& type, const Value&) {
  return type.min != type.max;
}
template <typename Value>
bool mayChange(const Text& type, const Value&) {
  return type.isPath;
}
bool mayChange(FreeObject, const std::string&) { return false; }
bool mayChange(const Name&, std::string_view) { return false; }

/// Of an object whose alternative is chosen.
template <typename Keys, typename Owner>
Json chosenSchema(const Keys& keys, Owner& owner) {
  Json schema{{"type", "object"}, {"properties", Json::object()}, {"additionalProperties", false}};
  schema["properties"][std::string(kCommentKey)] = {{"type", "string"}};
  keys.visit(owner, [&](const auto& key, auto&& value, const auto& fallback) {
    const std::string name(key.name);
    Json member = memberSchema(key.type, value);
    if (mayChange(key.type, value)) member["changes"] = true;
    const Json byDefault = defaultOf(key.type, fallback);
    if (!key.orElse.empty())
      schema["oneOf"] = {{{"required", {name}}}, {{"required", {std::string(key.orElse)}}}};
    else if (key.need == Need::required)
      schema["required"].push_back(name);
    else if (!byDefault.is_null())
      member["default"] = byDefault;
    schema["properties"][name] = member;
    // Of a required key and the one in its place there is exactly one.
    if (!key.insteadOf.empty() && !schema.contains("oneOf"))
      schema["not"]["required"] = {std::string(key.insteadOf), name};
  });
  return schema;
}

template <typename Keys, typename Owner>
Json objectSchema(const Keys& keys, Owner& owner) {
  Json alternatives;
  keys.visitTag([&](const auto& tag) {
    for (const NameRow& row : tag.choice.names)
      if (tag.choice.select(row.name, owner)) alternatives.push_back(chosenSchema(keys, owner));
  });
  return alternatives.is_null() ? chosenSchema(keys, owner) : Json{{"oneOf", alternatives}};
}

// What the schema says, references followed and words for people left out.

Json resolved(const Json& node, const Json& root) {
  if (node.is_array()) {
    Json items = Json::array();
    for (const Json& item : node) items.push_back(resolved(item, root));
    return items;
  }
  if (!node.is_object()) return node;
  Json result = Json::object();
  if (node.contains("$ref"))
    return resolved(root.at(Json::json_pointer(node.at("$ref").get<std::string>().substr(1))), root);
  if (node.contains("anyOf")) {
    EXPECT_EQ(node.at("anyOf").at(0), Json({{"$ref", "#/definitions/changing"}})) << node;
    result.update(resolved(node.at("anyOf").at(1), root));
    result["changes"] = true;
  }
  if (node.contains("allOf"))
    for (const Json& part : node.at("allOf")) result.update(resolved(part, root));
  for (const auto& [key, value] : node.items())
    if (key != "allOf" && key != "anyOf" && !(key == "$schema" && value.is_string()) && key != "title" &&
        key != "definitions" && !(key == "description" && value.is_string()))
      result[key] = key == "default" || key == "required" ? value : resolved(value, root);
  // The wider of two limits says nothing.
  if (result.contains("exclusiveMinimum")) result.erase("minimum");
  if (result.contains("exclusiveMaximum")) result.erase("maximum");
  return result;
}

/// One line for each value of a document.
std::vector<std::string> lines(const Json& json) {
  std::vector<std::string> lines;
  const Json flat = json.flatten();
  for (const auto& [path, value] : flat.items())
    lines.push_back(path + ": " + (value.is_number() ? numberText(value.get<double>()) : value.dump()));
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// What only `a` has; the first of it.
std::string onlyIn(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  std::vector<std::string> found;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(found));
  std::string text;
  for (std::size_t i = 0; i < found.size() && i < 20; ++i) text += found[i] + "\n";
  return text;
}

TEST(SceneSchema, SaysWhatTheDescriptionSays) {
  std::ifstream file(ORVHDRI_SOURCE_DIR "/scene/scene.schema.json");
  const Json schema = Json::parse(file);
  Scene scene;
  const auto said = lines(resolved(schema, schema));
  const auto described = lines(objectSchema(kSceneKeys, scene));
  EXPECT_GT(described.size(), 100u);
  EXPECT_EQ(onlyIn(said, described), "") << "only the schema says so";
  EXPECT_EQ(onlyIn(described, said), "") << "the schema does not say so";
}

TEST(SceneSchema, DescribesEveryKeyForPeople) {
  std::ifstream file(ORVHDRI_SOURCE_DIR "/scene/scene.schema.json");
  const Json schema = Json::parse(file);
  for (const auto& [name, definition] : schema.at("definitions").items()) {
    if (!definition.contains("properties")) continue;
    for (const auto& [key, value] : definition.at("properties").items())
      EXPECT_TRUE(value.contains("description") || value.contains("$ref") || value.contains("const"))
          << name << "." << key;
  }
}

}  // namespace
}  // namespace orv::scene
