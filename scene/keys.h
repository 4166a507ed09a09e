#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include "scene/scene_names.h"

// The words in which Scene.h describes the objects of a scene file: which keys an object has, what their
// values may be and which members they fill. The reader, the writer and the tests of the schema and of the
// documents follow these descriptions and know no key of their own.

namespace orv::scene {

// What a value may be.

/// A number. All numbers of a scene fit 32-bit floats.
struct Number {
  double min = -std::numeric_limits<double>::infinity();
  double max = std::numeric_limits<double>::infinity();
  bool minExcluded = false;
  bool maxExcluded = false;

  static constexpr Number any() { return {}; }
  static constexpr Number atLeast(double min) { return {.min = min}; }
  static constexpr Number above(double min) { return {.min = min, .minExcluded = true}; }
  static constexpr Number within(double min, double max) { return {.min = min, .max = max}; }
  constexpr Number to(double most) const { return {min, most, minExcluded, false}; }
  constexpr Number below(double limit) const { return {min, limit, minExcluded, true}; }
};

struct Integer {
  std::int64_t min;
  std::int64_t max;
};

struct Flag {};        ///< true or false
struct Text {};        ///< any text
struct Path {};        ///< of a file: text that is not empty and holds no NUL
struct Color {};       ///< [red, green, blue]
struct Size {};        ///< [width, height], within the limits of a map
struct FreeObject {};  ///< any object, kept as JSON text; empty text for none

/// A name of an enumeration that may stand in one of `uses`.
template <typename Value>
struct Name {
  unsigned uses = ~0u;
  std::string_view misplaced = {};  ///< how a message goes on after a name of another use
};

/// An object of these keys.
template <typename Keys>
struct Object {
  const Keys& keys;
};

/// An object of these keys; a flag of what it fills tells whether it is there.
template <typename Keys, typename Given>
struct ObjectIfGiven {
  const Keys& keys;
  Given given;
};

/// An array of objects.
template <typename Keys, typename Item>
struct Array {
  const Keys& keys;
  std::string_view items;              ///< what they are, for messages: "stops"
  std::string_view ascendingKey = {};  ///< of a number that may not fall from object to object, if any
  float Item::*ascending = nullptr;    ///< the member that it fills
};

template <typename Keys>
constexpr auto objectOf(const Keys& keys) {
  return Object<Keys>{keys};
}
template <typename Keys, typename Given>
constexpr auto objectIf(Given given, const Keys& keys) {
  return ObjectIfGiven<Keys, Given>{keys, given};
}
template <typename Item, typename Keys>
constexpr auto arrayOf(const Keys& keys, std::string_view items, std::string_view ascendingKey = {},
                      float Item::*ascending = nullptr) {
  return Array<Keys, Item>{keys, items, ascendingKey, ascending};
}

// What an object has. `visit(object, visitor, every)` calls `visitor(key, value, default)` for each key; of
// the alternatives of a variant, for the keys of the one that the object holds, or of all, on new objects.
// Members are pointers to members, or what else gives a reference when it is invoked with an object.

enum class Need {
  optional,       ///< not written when it has its default
  alwaysWritten,  ///< optional for the reader alone
  required,
};

/// A key and the member that its value fills. Its default is what a new object holds there.
template <typename Type, typename Member>
struct Key {
  std::string_view name;
  Type type;
  Member member;
  Need need;
  std::string_view insteadOf;  ///< a key that may not stand beside it

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool) const {
    static const std::remove_const_t<Owner> fallback{};
    visitor(*this, std::invoke(member, object), std::invoke(member, fallback));
  }
};

/// The keys of a member that has no object of its own in the file.
template <typename Keys, typename Member>
struct Inlined {
  const Keys& keys;
  Member member;

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool every) const {
    keys.visit(object.*member, visitor, every);
  }
};

/// The keys that are looked at when a choice names none of its alternatives; without any, those of all of them.
template <typename Owner, typename Keys>
struct AnyKeys {
  const Keys& keys;

  template <typename Visitor>
  void visit(const Visitor& visitor) const {
    Owner owner;
    keys.visit(owner, visitor, true);
  }
};
inline constexpr std::monostate kNoAny;

template <typename Owner, typename Keys>
constexpr auto any(const Keys& keys) {
  return AnyKeys<Owner, Keys>{keys};
}

/// A key whose name decides which alternative of a variant an object holds, and so which more keys it has.
template <typename Value, typename Member, typename Any, typename... Keys>
struct Choice {
  std::string_view key;
  Name<Value> names;
  std::string_view noun;  ///< what the names are of, for messages: a circle "pin"
  Member member;          ///< the variant
  Any any;                ///< keys that are looked at when there is no such name
  std::array<Value, sizeof...(Keys)> values;  ///< of the alternatives, in their order
  std::tuple<const Keys&...> keys;

  template <typename Owner>
  constexpr Value valueOf(const Owner& object) const {
    return values[(object.*member).index()];
  }

  /// Makes the object hold a new alternative of this name; false when there is none.
  template <typename Owner>
  bool select(std::string_view name, Owner& object) const {
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
      return ((nameOf(values[i], names.uses) == name && (((object.*member).template emplace<i>(), true))) || ...);
    }(std::make_index_sequence<sizeof...(Keys)>());
  }

  /// Whether each name that may stand here has an alternative.
  constexpr bool isComplete() const {
    std::size_t named = 0;
    for (const NameRow& row : kNames<Value>) {
      if ((row.uses & names.uses) == 0) continue;
      ++named;
      bool found = false;
      for (const Value value : values) found |= value == static_cast<Value>(row.value);
      if (!found) return false;
    }
    return named == values.size();
  }
};

/// Where the key of a choice stands among the keys of its object.
template <typename Choice>
struct Tag {
  const Choice& choice;

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool) const {
    auto value = choice.valueOf(object);
    visitor(Key<decltype(choice.names), std::nullptr_t>{choice.key, choice.names, nullptr, Need::required, {}},
            value, value);
  }
};

/// Where the keys that depend on the choice stand.
template <typename Choice>
struct Alternatives {
  const Choice& choice;

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool every) const {
    auto& variant = object.*choice.member;
    using Variant = std::remove_cvref_t<decltype(variant)>;
    [&]<std::size_t... i>(std::index_sequence<i...>) {
      (visitOne(std::get<i>(choice.keys), std::get_if<i>(&variant), visitor, every), ...);
    }(std::make_index_sequence<std::variant_size_v<Variant>>());
  }

 private:
  template <typename Keys, typename Alternative, typename Visitor>
  static void visitOne(const Keys& keys, Alternative* held, const Visitor& visitor, bool every) {
    if (held && !every) return keys.visit(*held, visitor, false);
    if (!every) return;
    // Nobody knows which of them it is: none of their keys is required, and names of every use are names.
    std::remove_const_t<Alternative> other{};
    keys.visit(
        other,
        [&](auto key, auto&& value, const auto& fallback) {
          key.need = Need::optional;
          if constexpr (requires { key.type.uses; }) key.type.uses = ~0u;
          visitor(key, value, fallback);
        },
        true);
  }
};

template <typename Entry>
inline constexpr bool kIsTag = false;
template <typename Choice>
inline constexpr bool kIsTag<Tag<Choice>> = true;

/// The keys of an object, in the order in which they are written and listed.
template <typename... Entries>
struct Keys {
  std::string_view owner;  ///< what has these keys, for messages: "a stop"
  std::tuple<Entries...> entries;

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool every = false) const {
    std::apply([&](const Entries&... entry) { (entry.visit(object, visitor, every), ...); }, entries);
  }

  /// Calls `visitor(choice)` when a choice decides over some of the keys.
  template <typename Visitor>
  void visitChoice(const Visitor& visitor) const {
    const auto visitEntry = [&]<typename Entry>(const Entry& entry) {
      if constexpr (kIsTag<Entry>) visitor(entry.choice);
    };
    std::apply([&](const Entries&... entry) { (visitEntry(entry), ...); }, entries);
  }
};

template <typename... Entries>
constexpr auto keys(std::string_view owner, Entries... entries) {
  return Keys<Entries...>{owner, {entries...}};
}
template <typename Type, typename Member>
constexpr auto key(std::string_view name, Type type, Member member, Need need = Need::optional,
                   std::string_view insteadOf = {}) {
  return Key<Type, Member>{name, type, member, need, insteadOf};
}
template <typename Member, typename Keys>
constexpr auto inlined(Member member, const Keys& keys) {
  return Inlined<Keys, Member>{keys, member};
}
template <typename Choice>
constexpr auto tag(const Choice& choice) {
  return Tag<Choice>{choice};
}
template <typename Choice>
constexpr auto alternatives(const Choice& choice) {
  return Alternatives<Choice>{choice};
}

/// An alternative of a choice.
template <typename Value, typename Keys>
struct Alternative {
  Value value;
  const Keys& keys;
};
template <typename Value, typename Keys>
constexpr auto when(Value value, const Keys& keys) {
  return Alternative<Value, Keys>{value, keys};
}

template <typename Variant, typename Owner, typename Any, typename Value, typename... Keys>
constexpr auto choice(std::string_view key, Name<Value> names, std::string_view noun, Variant Owner::*member,
                      Any any, Alternative<Value, Keys>... alternatives) {
  static_assert(std::variant_size_v<Variant> == sizeof...(Keys), "an alternative of the variant has no keys");
  return Choice<Value, Variant Owner::*, Any, Keys...>{
      key, names, noun, member, any, {alternatives.value...}, {alternatives.keys...}};
}

/// A color that its owner holds as three floats.
template <typename Owner>
struct Channels {
  float Owner::*r;
  float Owner::*g;
  float Owner::*b;

  template <typename Float>
  struct Reference {
    Float& r;
    Float& g;
    Float& b;
  };
  auto operator()(Owner& owner) const { return Reference<float>{owner.*r, owner.*g, owner.*b}; }
  auto operator()(const Owner& owner) const { return Reference<const float>{owner.*r, owner.*g, owner.*b}; }
};

template <typename Owner>
constexpr auto channels(float Owner::*r, float Owner::*g, float Owner::*b) {
  return Channels<Owner>{r, g, b};
}

}  // namespace orv::scene
