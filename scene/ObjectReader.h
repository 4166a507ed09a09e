#pragma once

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "scene/Problems.h"
#include "scene/Scene.h"
#include "scene/json_tree.h"
#include "scene/nearest_name.h"

namespace orv::scene {

/// Reads JSON objects as their keys describe them. What is wrong goes to the problems, and the member that it
/// should have filled stays as it was.
class ObjectReader {
 public:
  explicit ObjectReader(Problems& problems) : problems_(problems) {}

  /// A value and where it stands.
  struct Place {
    const JsonValue& value;
    const JsonPath& path;
  };

  template <typename Keys, typename Owner>
  void readObject(const Keys& keys, const Place& place, Owner& owner) {
    if (!isObject(place, keys.owner)) return;
    Members members{place, std::string(keys.owner)};
    const auto read = [&](const auto& key, auto&& value, const auto&) { readMember(members, key, value); };
    keys.visitTag([&](const auto& tag) { choose(tag, members, owner); });
    keys.visit(owner, read, !members.chosen);
    checkKeys(members);
  }

 private:
  /// The members of the object that is being read.
  struct Members {
    const Place& place;
    std::string owner;                        ///< what they are keys of
    std::vector<std::string_view> keys = {};  ///< those that are allowed
    bool chosen = true;                       ///< whether the keys are those of one alternative
    std::string_view tag = {};                ///< else the key that should have chosen it, already read
    bool misplaced = false;                   ///< and whether that has the name of another use
  };

  /// Makes `owner` hold the alternative that is named; reports the name when there is no such alternative.
  template <typename Tag, typename Owner>
  void choose(const Tag& tag, Members& members, Owner& owner) {
    const JsonValue* value = memberOf(members, tag.choice.key);
    std::string_view name;
    if (value && std::holds_alternative<std::string>(value->data)) name = std::get<std::string>(value->data);
    members.chosen = tag.choice.select(name, owner);
    if (members.chosen) {
      members.owner.assign("a ").append(name).append(" ").append(tag.choice.noun);
      return;
    }
    readGiven(members, tag.key(), name);
    members.tag = tag.choice.key;
    members.misplaced = !name.empty() && name == tag.choice.names.back().name;
  }

  template <typename Key, typename Value>
  void readMember(Members& members, const Key& key, Value& value) {
    if (addKey(members, key.name)) readGiven(members, key, value);
  }

  template <typename Key, typename Value>
  void readGiven(const Members& members, const Key& key, Value& value) {
    if (const JsonValue* found = memberOf(members, key.name)) {
      const JsonPath path = members.place.path.child(key.name);
      const bool good = read(key.type, {*found, path}, value);
      if (good && !key.insteadOf.empty()) checkAlone(members, key.name, key.insteadOf);
    } else if (key.need == Need::required) {
      problems_.add(members.place.value.order, members.place.path.child(key.name).text(),
                    "missing; required: " + allowed(key.type));
    }
  }

  // What may stand there, for messages.
  static std::string allowed(const Number& type);
  static std::string allowed(const Integer& type);
  static std::string allowed(Flag) { return "true, false"; }
  static std::string allowed(Text type) {
    return type.isPath ? "the path of an image file, in quotes" : "text in quotes";
  }
  static std::string allowed(Color) { return "[red, green, blue], three numbers"; }
  static std::string allowed(Size) { return "[width, height], two integers"; }
  static std::string allowed(FreeObject) { return "an object"; }
  template <typename Value>
  static std::string allowed(const Name<Value>& type) {
    return listOf(namesFor(kNames<Value>, type.uses));
  }
  static std::string allowed(const Alternative& type) { return listOf(namesFor(type.names, 1)); }
  template <typename Keys, typename Given>
  static std::string allowed(const Object<Keys, Given>& type) {
    return std::string(type.keys.owner);
  }
  template <typename Keys, typename Item>
  static std::string allowed(const Array<Keys, Item>& type) {
    return "an array of " + std::string(type.items);
  }

  // Each reads a value, and gives true when it has stored one.
  bool read(const Number& type, const Place& place, float& result);
  template <typename Result>
  bool read(const Integer& type, const Place& place, Result& result) {
    const std::optional<std::int64_t> integer = readInteger(type, place);
    if (integer) result = static_cast<Result>(*integer);
    return integer.has_value();
  }
  bool read(Flag type, const Place& place, bool& result);
  bool read(Text type, const Place& place, std::string& result);
  bool read(Color type, const Place& place, std::tuple<float&, float&, float&>& result);
  bool read(Size type, const Place& place, MapSize& result);
  bool read(FreeObject type, const Place& place, std::string& result);
  template <typename Value>
  bool read(const Name<Value>& type, const Place& place, Value& result) {
    const NameRow* row = readName(kNames<Value>, type.uses, type.misplaced, place);
    if (row) result = static_cast<Value>(row->value);
    return row != nullptr;
  }
  bool read(const Alternative& type, const Place& place, std::string_view&) {
    return readName(type.names, 1, type.misplaced, place) != nullptr;
  }
  template <typename Keys, typename Given, typename Owner>
  bool read(const Object<Keys, Given>& type, const Place& place, Owner& result) {
    if constexpr (!std::is_null_pointer_v<Given>) result.*type.given = true;
    readObject(type.keys, place, result);
    return true;
  }
  template <typename Keys, typename Item>
  bool read(const Array<Keys, Item>& type, const Place& place, std::vector<Item>& result) {
    const auto* array = std::get_if<JsonArray>(&place.value.data);
    if (!array) return refuse(place, notOfType(place.value, allowed(type)));
    float last = -std::numeric_limits<float>::infinity();
    result.reserve(array->size());
    for (std::size_t i = 0; i < array->size(); ++i) {
      const JsonPath path = place.path.child(i);
      Item& item = result.emplace_back();
      // Stays so when it can not be read.
      if (type.ascending) item.*type.ascending = std::numeric_limits<float>::quiet_NaN();
      readObject(type.keys, {(*array)[i], path}, item);
      if (type.ascending) checkAscending({(*array)[i], path}, type.ascendingKey, item.*type.ascending, last);
    }
    return true;
  }

  /// Each name that may stand in one of the uses, once.
  static std::vector<std::string_view> namesFor(std::span<const NameRow> rows, unsigned uses);
  static std::string notOfType(const JsonValue& value, const std::string& allowed);
  static const JsonValue* memberOf(const JsonValue& object, std::string_view key);
  static const JsonValue* memberOf(const Members& members, std::string_view key) {
    return memberOf(members.place.value, key);
  }
  static bool addKey(Members& members, std::string_view key);

  bool isObject(const Place& place, std::string_view owner);
  void checkKeys(const Members& members);
  void checkAlone(const Members& members, std::string_view key, std::string_view other);
  void checkAscending(const Place& place, std::string_view key, float value, float& last);
  void checkFinite(const JsonValue& value, const JsonPath& path);
  std::optional<std::int64_t> readInteger(const Integer& type, const Place& place);
  const NameRow* readName(std::span<const NameRow> rows, unsigned uses, std::string_view misplaced,
                          const Place& place);
  /// Adds a problem; false.
  bool refuse(const Place& place, const std::string& finding);

  Problems& problems_;
};

}  // namespace orv::scene
