#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
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
  /// Degrees along the horizon, taken modulo a turn.
  static constexpr Number azimuth() { return {.min = -360, .max = 360}; }
  static constexpr Number within(double min, double max) { return {.min = min, .max = max}; }
  constexpr Number to(double most) const { return {min, most, minExcluded, false}; }
  constexpr Number below(double limit) const { return {min, limit, minExcluded, true}; }
};

/// A number of stops: 2 to its power is a factor of the number that was read before it. A scene holds the
/// product, which is written without it.
struct Exposure {
  static constexpr float kMost = 64;
};

/// A temperature in kelvin: another way to say a colour, which is what a scene holds and what is written.
struct Temperature {};

struct Integer {
  std::int64_t min;
  std::int64_t max;
};

struct Flag {};        ///< true or false
struct Color {};       ///< [red, green, blue]; its members give a tuple of three references
struct Size {};        ///< [width, height], within the limits of a map
struct FreeObject {};  ///< any object, kept as JSON text; empty text for none

/// Any text, or the path of a file: text that is not empty and holds no NUL.
struct Text {
  bool isPath = false;
};
inline constexpr Text kPath{true};

/// One of the names that may stand in one of `uses`: of an enumeration's value, or of an alternative.
struct Name {
  std::span<const NameRow> names;
  unsigned uses = ~0u;
  std::string_view misplaced = {};  ///< how a message goes on after a name of another use
};

/// An object of these keys. `given`, if any, is a flag of what it fills that tells whether it is there.
template <typename Keys, typename Given = std::nullptr_t>
struct Object {
  const Keys& keys;
  Given given = {};
};
template <typename Keys, typename Given = std::nullptr_t>
Object(const Keys&, Given = {}) -> Object<Keys, Given>;

/// An array of objects.
template <typename Keys, typename Item>
struct Array {
  const Keys& keys;
  std::string_view items;              ///< what they are, for messages: "stops"
  std::string_view ascendingKey = {};  ///< of a number that may not fall from object to object, if any
  float Item::*ascending = nullptr;    ///< the member that it fills
};
template <typename Keys, typename Item>
Array(const Keys&, std::string_view, std::string_view, float Item::*) -> Array<Keys, Item>;

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
  std::string_view orElse;     ///< a key that may stand in the place of a required one

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
template <typename Keys, typename Member>
Inlined(const Keys&, Member) -> Inlined<Keys, Member>;

/// A key whose name decides which alternative of a variant an object holds, and so which more keys it has.
template <typename Member, typename... Keys>
struct Choice {
  std::string_view key;
  std::string_view noun;                           ///< what the names are of, for messages: a circle "pin"
  Member member;                                   ///< the variant
  std::string_view misplaced;                      ///< how a message goes on after the name of the last row
  std::array<NameRow, sizeof...(Keys) + 1> names;  ///< of the alternatives, then one that can not stand here
  std::tuple<const Keys&...> keys;                 ///< of the alternatives

  template <typename Owner>
  constexpr std::string_view nameOf(const Owner& object) const {
    return names[(object.*member).index()].name;
  }

  /// Makes the object hold a new alternative of this name; false when there is none.
  template <typename Owner>
  bool select(std::string_view name, Owner& object) const {
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
      return ((names[i].name == name && ((object.*member).template emplace<i>(), true)) || ...);
    }
    (std::index_sequence_for<Keys...>());
  }
};

/// Where the key of a choice stands among the keys of its object.
template <typename Choice>
struct Tag {
  const Choice& choice;

  constexpr auto key() const {
    return Key<Name, std::nullptr_t>{
        choice.key, {choice.names, 1, choice.misplaced}, nullptr, Need::required, {}, {}};
  }
  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool) const {
    auto name = choice.nameOf(object);
    visitor(key(), name, name);
  }
};
template <typename Choice>
Tag(const Choice&) -> Tag<Choice>;

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
    }
    (std::make_index_sequence<std::variant_size_v<Variant>>());
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
          if constexpr (std::is_same_v<decltype(key.type), Name>) key.type.uses = ~0u;
          visitor(key, value, fallback);
        },
        true);
  }
};

template <typename Choice>
Alternatives(const Choice&) -> Alternatives<Choice>;

/// The keys of an object, in the order in which they are written and listed.
template <typename... Entries>
struct Keys {
  std::string_view owner;  ///< what has these keys, for messages: "a stop"; of an alternative, its name
  std::tuple<Entries...> entries;

  template <typename Owner, typename Visitor>
  void visit(Owner& object, const Visitor& visitor, bool every = false) const {
    std::apply([&](const Entries&... entry) { (entry.visit(object, visitor, every), ...); }, entries);
  }

  /// Calls `visitor(tag)` when a choice decides over some of the keys.
  template <typename Visitor>
  void visitTag(const Visitor& visitor) const {
    const auto visitEntry = [&](const auto& entry) {
      if constexpr (requires { entry.key(); }) visitor(entry);
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
                   std::string_view insteadOf = {}, std::string_view orElse = {}) {
  return Key<Type, Member>{name, type, member, need, insteadOf, orElse};
}

/// @param misplaced a name that may not stand here, and how messages say so; @param keys of the alternatives.
template <typename Variant, typename Owner, typename... Keys>
constexpr auto choice(std::string_view key, std::string_view noun, Variant Owner::*member,
                      std::pair<std::string_view, std::string_view> misplaced, const Keys&... keys) {
  static_assert(std::variant_size_v<Variant> == sizeof...(Keys), "each alternative has keys");
  return Choice<Variant Owner::*, Keys...>{
      key, noun, member, misplaced.second, {{{keys.owner, 1}..., {misplaced.first, 2}}}, {keys...}};
}

/// The floats of a color, or of an object that holds one as `r`, `g` and `b`.
inline constexpr auto kRgb = [](auto& owner) { return std::tie(owner.r, owner.g, owner.b); };

}  // namespace orv::scene
