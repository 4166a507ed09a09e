#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "hdri/Pixel.h"
#include "scene/Problems.h"
#include "scene/json_tree.h"
#include "scene/nearest_name.h"
#include "scene/scene_names.h"

namespace orv::scene {

/// Values that a number may take. All numbers of a scene fit 32-bit floats.
struct NumberRange {
  double min = -std::numeric_limits<double>::infinity();
  double max = std::numeric_limits<double>::infinity();
  bool minExcluded = false;
  bool maxExcluded = false;

  static NumberRange any() { return {}; }
  static NumberRange atLeast(double min) { return {.min = min}; }
  static NumberRange above(double min) { return {.min = min, .minExcluded = true}; }
  static NumberRange within(double min, double max) { return {.min = min, .max = max}; }
  NumberRange to(double most) const { return {min, most, minExcluded, false}; }
  NumberRange below(double limit) const { return {min, limit, minExcluded, true}; }

  /// `above 0 and at most 180`; empty when every number is allowed.
  std::string text() const;
};

enum class Need { optional, required };

/// Reads the members of one JSON object. What is wrong goes to the problems; a getter then leaves its result
/// as it was. Getters give true when they have stored a value.
class ObjectReader {
 public:
  /// @param keys all keys that the object may have. @param owner what they are keys of, for messages.
  ObjectReader(const JsonValue& value, const JsonPath& path, Problems& problems,
               std::span<const std::string_view> keys, std::string_view owner);

  /// The member's value, or null without a member of that name (which is reported when it is required).
  const JsonValue* find(std::string_view key, Need need, std::string_view allowed);

  bool number(std::string_view key, const NumberRange& range, float& result, Need need = Need::optional);
  bool integer(std::string_view key, std::int64_t min, std::int64_t max, std::int64_t& result,
               Need need = Need::optional);
  bool boolean(std::string_view key, bool& result);
  bool color(std::string_view key, hdri::Rgb& result, Need need = Need::optional);
  /// Any text.
  bool text(std::string_view key, std::string& result);
  /// A file's path: text that is not empty and holds no NUL.
  bool path(std::string_view key, std::string& result, Need need = Need::optional);
  /// One of a table's names.
  template <typename Value, std::size_t n>
  bool name(std::string_view key, const NameTable<Value, n>& table, Value& result, Need need) {
    const std::optional<std::size_t> i = nameIndex(key, table.names, need);
    if (i) result = table.values[*i];
    return i.has_value();
  }
  /// Two integers of the same range.
  bool integerPair(std::string_view key, std::int64_t min, std::int64_t max, std::int64_t (&result)[2]);

  JsonPath pathOf(std::string_view key) const { return path_.child(key); }
  void report(std::string_view key, const JsonValue& value, const std::string& finding);
  Problems& problems() { return problems_; }

 private:
  std::optional<std::size_t> nameIndex(std::string_view key, std::span<const std::string_view> names,
                                       Need need);
  const std::string* string(std::string_view key, Need need, std::string_view allowed);

  const JsonValue& value_;
  const JsonObject* object_;  ///< null when the value is no object
  JsonPath path_;
  Problems& problems_;
};

/// Reads `value` as a number; false, with a problem added, when it is none or out of range.
bool readNumber(const JsonValue& value, const JsonPath& path, const NumberRange& range, Problems& problems,
                float& result);

/// Reads `value` as an integer (1.0 counts as one).
bool readInteger(const JsonValue& value, const JsonPath& path, std::int64_t min, std::int64_t max,
                 Problems& problems, std::int64_t& result);

}  // namespace orv::scene
