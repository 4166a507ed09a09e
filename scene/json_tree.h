#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orv::scene {

class Problems;

/// Limits that keep hostile files from costing much: they are refused with one line.
inline constexpr std::size_t kMaxSceneBytes = std::size_t{16} << 20;
inline constexpr std::size_t kMaxSceneValues = std::size_t{1} << 20;
inline constexpr std::size_t kMaxSceneDepth = 64;

struct JsonValue;
struct JsonMember;

/// A number that a file writes otherwise than as the shortest text of its value, such as `0.50` and `1e400`,
/// which messages quote as it stands there.
struct WrittenNumber {
  double value = 0;  ///< an infinity where no double can hold its magnitude
  std::string text;
};

using JsonArray = std::vector<JsonValue>;
using JsonObject = std::vector<JsonMember>;  ///< in the file's order, each key once

/// What is added to a setting's number to make the offset of the values that it put into a document.
inline constexpr std::uint32_t kFromSetting = std::uint32_t{1} << 31;
/// What is added to the number of a value, in the document's order, to make its offset where there is no
/// text.
inline constexpr std::uint32_t kWithoutText = std::uint32_t{3} << 30;
/// The offset of what stands nowhere.
inline constexpr std::uint32_t kNowhere = ~std::uint32_t{0};

/// A value of a JSON document. Nested at most `kMaxSceneDepth` deep.
struct JsonValue {
  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, WrittenNumber, std::string,
               JsonArray, JsonObject>
      data;
  std::uint32_t offset = kNowhere;     ///< of its first byte in the text; of a setting's, see `kFromSetting`
  std::uint32_t keyOffset = kNowhere;  ///< of its key's first byte; in an array as `offset`

  bool isNumber() const;
  /// The value of a number; an infinity for one that overflows. NaN for what is no number.
  double asDouble() const;
  /// What it is and what it holds, for messages: `"abc"`, `-4`, `an array of 3`, `true`.
  std::string found() const;
};

struct JsonMember {
  std::string key;
  JsonValue value;
};

/// Where a value stands in a document, as a chain of steps that live on the stack.
struct JsonPath {
  const JsonPath* parent = nullptr;
  std::string_view key = {};  ///< of an object's member; unused in an array
  std::size_t index = 0;
  enum class Step { root, key, index } step = Step::root;

  JsonPath child(std::string_view name) const { return {this, name, 0, Step::key}; }
  JsonPath child(std::size_t i) const { return {this, {}, i, Step::index}; }
  /// `pins[3].fill.stops[1].color`; `scene` for the document itself.
  std::string text() const;
};

/// Text in double quotes with control characters escaped, cut to a length that suits a message.
std::string quotedText(std::string_view text);

/// The shortest decimal text that gives the number back.
std::string numberText(double value);

/// Parses a JSON text with `//` and `/* */` comments. Syntax errors, keys given twice and texts beyond the
/// limits go to `problems`.
/// @return false when there is no document to look at.
bool parseJson(std::string_view text, JsonValue& document, Problems& problems);

}  // namespace orv::scene
