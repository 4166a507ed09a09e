#pragma once

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "scene/Problems.h"
#include "scene/Scene.h"
#include "scene/json_tree.h"
#include "scene/nearest_name.h"

namespace orv::scene {

template <typename Type>
inline constexpr bool kIsObject = false;
template <typename Keys, typename Given>
inline constexpr bool kIsObject<Object<Keys, Given>> = true;

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
    Members members{place, std::string(keys.owner)};
    if (!std::holds_alternative<JsonObject>(place.value.data)) {
      refuseType(place, "an object, " + members.owner);
      return;
    }
    const CommentKeeper outer = comments_;
    if constexpr (requires { owner.comments; }) comments_ = {&owner.comments, place.path.text()};
    readComment(place);
    keys.visitTag([&](const auto& tag) { choose(tag, members, owner); });
    const auto readMember = [&](const auto& key, auto&& value, const auto&) {
      if (addKey(members, key.name)) readGiven(members, key, value);
    };
    keys.visit(owner, readMember, !members.chosen);
    if (hasUnknownKeys(members)) {
      const auto addNested = [&](const auto& key, auto&& value, const auto&) {
        if constexpr (kIsObject<std::remove_cvref_t<decltype(key.type)>>)
          key.type.keys.visit(
              value,
              [&](const auto& inner, auto&&, const auto&) {
                members.nested.push_back({inner.name, key.name});
              },
              true);
      };
      keys.visit(owner, addNested, !members.chosen);
      checkKeys(members);
    }
    comments_ = outer;
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
    std::vector<std::pair<std::string_view, std::string_view>> nested = {};  ///< keys of objects, and theirs
  };

  /// Makes `owner` hold the alternative that is named; reports the name when there is no such alternative.
  template <typename Tag, typename Owner>
  void choose(const Tag& tag, Members& members, Owner& owner) {
    const JsonValue* value = memberOf(members.place, tag.choice.key);
    std::string_view name;
    if (value && std::holds_alternative<std::string>(value->data)) name = std::get<std::string>(value->data);
    members.chosen = tag.choice.select(name, owner);
    if (members.chosen) {
      const bool vowel = std::string_view("aeio").find(name.front()) != std::string_view::npos;
      members.owner.assign(vowel ? "an " : "a ").append(name).append(" ").append(tag.choice.noun);
      return;
    }
    readGiven(members, tag.key(), name);
    members.tag = tag.choice.key;
    members.misplaced = !name.empty() && name == tag.choice.names.back().name;
  }

  template <typename Key, typename Value>
  void readGiven(const Members& members, const Key& key, Value& value) {
    const JsonPath path = members.place.path.child(key.name);
    if (const JsonValue* found = memberOf(members.place, key.name)) {
      const bool good = read(key.type, {*found, path}, value);
      const JsonValue* other = key.insteadOf.empty() ? nullptr : memberOf(members.place, key.insteadOf);
      if (good && other)
        refuse({*found, path},
               "given together with " + std::string(key.insteadOf) + "; allowed: one of the two");
    } else if (key.need == Need::required && !(!key.orElse.empty() && memberOf(members.place, key.orElse))) {
      refuse({members.place.value, path}, "missing; required: " + allowed(key.type));
    }
  }

  // What may stand there, for messages.
  static std::string allowed(const Number& type);
  static std::string allowed(const Integer& type);
  static std::string allowed(Exposure type);
  static std::string allowed(Temperature type);
  static std::string allowed(Flag) { return "true, false"; }
  static std::string allowed(Text type) {
    return type.isPath ? "the path of an image file, in quotes" : "text in quotes";
  }
  static std::string allowed(Color) { return "[red, green, blue], three numbers"; }
  static std::string allowed(Size) { return "[width, height], two integers"; }
  static std::string allowed(FreeObject) { return "an object"; }
  static std::string allowed(const Name& type) { return listOf(namesFor(type)); }
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
  bool read(Exposure type, const Place& place, float& result);
  bool read(Temperature type, const Place& place, std::tuple<float&, float&, float&>& result);
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
  bool read(const Name& type, const Place& place, Value& result) {
    const NameRow* row = readName(type, place);
    if constexpr (std::is_enum_v<Value>)
      if (row) result = static_cast<Value>(row->value);
    return row != nullptr;
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
    if (!array) return refuseType(place, allowed(type));
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
  static std::vector<std::string_view> namesFor(const Name& type);
  static const JsonValue* memberOf(const Place& place, std::string_view key);
  static bool addKey(Members& members, std::string_view key);

  /// Who keeps the comments of the objects that are being read.
  struct CommentKeeper {
    std::vector<Comment>* comments = nullptr;
    std::string place = {};
  };
  void readComment(const Place& place);

  static bool isKnown(const Members& members, std::string_view key);
  static bool hasUnknownKeys(const Members& members);
  void checkKeys(const Members& members);
  void checkAscending(const Place& place, std::string_view key, float value, float& last);
  void checkFinite(const JsonValue& value, const JsonPath& path);
  std::optional<std::int64_t> readInteger(const Integer& type, const Place& place);
  const NameRow* readName(const Name& type, const Place& place);
  // Each adds a problem, and gives false.
  bool refuse(const Place& place, const std::string& finding);
  bool refuseType(const Place& place, const std::string& allowed);

  Problems& problems_;
  CommentKeeper comments_;
};

}  // namespace orv::scene
