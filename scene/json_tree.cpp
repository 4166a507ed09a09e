#include "scene/json_tree.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "scene/Problems.h"

namespace orv::scene {
namespace {

using Json = nlohmann::json;

/// How many numbers beyond the range of a double are reported one by one; each costs another parse.
constexpr std::size_t kMostOverflows = 16;

bool isPlainKey(std::string_view key) {
  const auto plain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !key.empty() && key.size() <= 40 && std::all_of(key.begin(), key.end(), plain);
}

/// Follows the parser, which tells no places, through what it has found to be right.
class TokenCursor {
 public:
  explicit TokenCursor(std::string_view text) : text_(text), at_(text.starts_with("\xEF\xBB\xBF") ? 3 : 0) {}

  /// Where the next token begins that is neither a comma nor a colon; moves behind it.
  std::uint32_t next() {
    while (skipOne()) {
    }
    const std::size_t start = at_;
    constexpr std::string_view kEnds = " \t\r\n,:[]{}\"/";
    if (start < text_.size() && text_[start] == '"')
      at_ = endOfString(start);
    else
      at_ = std::max(std::min(text_.find_first_of(kEnds, start), text_.size()), start + 1);
    return static_cast<std::uint32_t>(start);
  }

 private:
  /// Skips a character or a comment between tokens, if one is there.
  bool skipOne() {
    const std::string_view rest = text_.substr(std::min(at_, text_.size()));
    if (rest.empty()) return false;
    if (std::string_view(" \t\r\n,:").find(rest[0]) != std::string_view::npos) {
      ++at_;
      return true;
    }
    const bool isLine = rest.starts_with("//");
    if (!isLine && !rest.starts_with("/*")) return false;
    const std::size_t end = isLine ? rest.find_first_of("\r\n") : rest.find("*/", 2);
    at_ += end == std::string_view::npos ? rest.size() : end + (isLine ? 1 : 2);
    return true;
  }

  std::size_t endOfString(std::size_t start) const {
    std::size_t i = start + 1;
    while (i < text_.size() && text_[i] != '"') i += text_[i] == '\\' ? 2 : 1;
    return i + 1;
  }

  std::string_view text_;
  std::size_t at_;
};

/// Numbers that overflow, by the number of values before them.
using Overflows = std::map<std::uint32_t, std::string>;

/// Builds the tree of a document, or stops at the first thing that makes it unreadable.
class TreeBuilder final : public nlohmann::json_sax<Json> {
 public:
  struct Overflow {
    std::uint32_t order;  ///< how many values stand before it
    std::size_t end;      ///< offset behind the number
    std::string text;
  };

  TreeBuilder(std::string_view text, const Overflows& overflows, JsonValue& document, Problems& problems)
      : text_(text), tokens_(text), overflows_(overflows), document_(document), problems_(problems) {}

  const std::optional<Overflow>& overflow() const { return overflow_; }

  bool null() override { return add({}); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return addNumber(std::int64_t{value}); }
  bool number_unsigned(number_unsigned_t value) override { return addNumber(std::uint64_t{value}); }
  bool number_float(number_float_t value, const string_t& text) override {
    if (text == numberText(value)) return addNumber(value);
    return addNumber(WrittenNumber{value, text});
  }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(JsonObject{}); }
  bool start_array(std::size_t) override { return open(JsonArray{}); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    keyOffset_ = tokens_.next();
    key_ = std::move(name);
    return true;
  }

  bool end_object() override {
    dropRepeatedKeys();
    return close();
  }

  bool parse_error(std::size_t position, const std::string& token, const Json::exception& error) override {
    constexpr int kNumberOverflow = 406;
    if (error.id == kNumberOverflow && position <= text_.size() && token.size() <= position) {
      overflow_ = {count_, position, token};
      return false;
    }
    if (addCommaFinding(position, error.what())) return false;
    // At the last character that was read, or behind the text.
    const std::size_t offset = std::min(position, text_.size() + 1);
    problems_.add(static_cast<std::uint32_t>(offset == 0 ? 0 : offset - 1), {}, finding(error.what()));
    return false;
  }

 private:
  using Data = decltype(JsonValue::data);

  bool add(Data data) { return put(std::move(data)) != nullptr; }

  bool addNumber(Data data) {
    const auto overflow = overflows_.find(count_);
    if (overflow != overflows_.end()) {
      const double infinity = std::numeric_limits<double>::infinity();
      data = WrittenNumber{overflow->second.starts_with('-') ? -infinity : infinity, overflow->second};
    }
    return add(std::move(data));
  }

  bool open(Data data) {
    if (stack_.size() == kMaxSceneDepth) {
      problems_.add(kNowhere, "scene", "more than " + std::to_string(kMaxSceneDepth) + " levels of nesting");
      return false;
    }
    JsonValue* value = put(std::move(data));
    if (!value) return false;
    // Stays where it is while it is open: nothing is added beside it until it is closed.
    stack_.push_back(value);
    return true;
  }

  bool close() {
    tokens_.next();
    stack_.pop_back();
    return true;
  }

  JsonValue* put(Data data) {
    if (count_ == kMaxSceneValues) {
      problems_.add(kNowhere, "scene", "more than " + std::to_string(kMaxSceneValues) + " values");
      return nullptr;
    }
    ++count_;
    const std::uint32_t offset = tokens_.next();
    JsonValue value{std::move(data), offset, offset};
    if (stack_.empty()) {
      document_ = std::move(value);
      return &document_;
    }
    if (auto* array = std::get_if<JsonArray>(&stack_.back()->data)) {
      array->push_back(std::move(value));
      return &array->back();
    }
    auto& object = std::get<JsonObject>(stack_.back()->data);
    value.keyOffset = keyOffset_;
    object.push_back({std::move(key_), std::move(value)});
    return &object.back().value;
  }

  /// Reports each key of the innermost object that stands there again, and keeps the first of them.
  void dropRepeatedKeys() {
    auto& object = std::get<JsonObject>(stack_.back()->data);
    std::set<std::string> seen;
    std::erase_if(object, [&](const JsonMember& member) {
      if (seen.insert(member.key).second) return false;
      problems_.add(member.value.keyOffset, openPath(member.key), "this key is given twice; allowed: once");
      return true;
    });
  }

  /// Path of the member `key` of the innermost open object.
  std::string openPath(const std::string& key) const {
    std::vector<JsonPath> steps(stack_.size() + 1);
    for (std::size_t depth = 0; depth + 1 < stack_.size(); ++depth) {
      const JsonPath& parent = steps[depth];
      if (const auto* array = std::get_if<JsonArray>(&stack_[depth]->data))
        steps[depth + 1] = parent.child(array->size() - 1);
      else
        steps[depth + 1] = parent.child(std::get<JsonObject>(stack_[depth]->data).back().key);
    }
    return steps[stack_.size() - 1].child(key).text();
  }

  /// Tells what is wrong with a comma, if one is, at the token behind it.
  bool addCommaFinding(std::size_t position, std::string_view message) {
    if (position == 0 || position > text_.size()) return false;
    const char end = text_[position - 1];
    const std::string_view before = text_.substr(0, position - 1);
    const std::size_t last = before.find_last_not_of(" \t\r\n");
    const bool afterComma = last != std::string_view::npos && before[last] == ',';
    const bool wantsEnd = message.ends_with("; expected '}'") || message.ends_with("; expected ']'");
    if (afterComma && (end == '}' || end == ']')) {
      problems_.add(tokens_.next(), {},
                    std::string("nothing follows the comma before this ") + end + "; remove the comma");
      return true;
    }
    if (!wantsEnd || message.find("unexpected end of input") != std::string_view::npos) return false;
    const std::uint32_t start = tokens_.next();
    std::string_view token = text_.substr(start, position - std::min<std::size_t>(start, position));
    const bool isText = token.size() > 1 && token.starts_with('"') && token.ends_with('"');
    problems_.add(start, {},
                  "a comma is missing before " + (isText ? quotedText(token.substr(1, token.size() - 2))
                                                         : std::string(token.substr(0, 40))));
    return true;
  }

  /// The parser's message without its number and its place, which `place` gives.
  static std::string finding(std::string_view message) {
    const std::size_t column = message.find("column ");
    const std::size_t colon = column == std::string_view::npos ? column : message.find(": ", column);
    if (colon != std::string_view::npos) message.remove_prefix(colon + 2);
    constexpr std::string_view kLastRead = "; last read: '";
    const std::size_t lastRead = message.find(kLastRead);
    std::string text(message.substr(0, lastRead));
    if (lastRead == std::string_view::npos) return text;
    const std::string_view rest = message.substr(lastRead + kLastRead.size());
    const std::size_t end = rest.rfind('\'');
    text += "; last read: " + quotedText(rest.substr(0, end));
    if (end != std::string_view::npos) text += rest.substr(end + 1);
    return text;
  }

  std::string_view text_;
  TokenCursor tokens_;
  const Overflows& overflows_;
  JsonValue& document_;
  Problems& problems_;
  std::vector<JsonValue*> stack_;
  std::string key_;
  std::uint32_t keyOffset_ = 0;
  std::uint32_t count_ = 0;  ///< of values
  std::optional<Overflow> overflow_;
};

}  // namespace

bool JsonValue::isNumber() const {
  return std::holds_alternative<std::int64_t>(data) || std::holds_alternative<std::uint64_t>(data) ||
         std::holds_alternative<double>(data) || std::holds_alternative<WrittenNumber>(data);
}

double JsonValue::asDouble() const {
  if (const auto* i = std::get_if<std::int64_t>(&data)) return static_cast<double>(*i);
  if (const auto* u = std::get_if<std::uint64_t>(&data)) return static_cast<double>(*u);
  if (const auto* d = std::get_if<double>(&data)) return *d;
  const auto* written = std::get_if<WrittenNumber>(&data);
  return written ? written->value : std::numeric_limits<double>::quiet_NaN();
}

std::string JsonValue::found() const {
  struct Visitor {
    std::string operator()(std::monostate) const { return "null"; }
    std::string operator()(bool b) const { return b ? "true" : "false"; }
    std::string operator()(std::int64_t i) const { return std::to_string(i); }
    std::string operator()(std::uint64_t u) const { return std::to_string(u); }
    std::string operator()(double d) const { return numberText(d); }
    std::string operator()(const WrittenNumber& n) const {
      return n.text.size() <= 40 ? n.text : n.text.substr(0, 40) + "...";
    }
    std::string operator()(const std::string& s) const { return quotedText(s); }
    std::string operator()(const JsonArray& a) const { return "an array of " + std::to_string(a.size()); }
    std::string operator()(const JsonObject&) const { return "an object"; }
  };
  return std::visit(Visitor{}, data);
}

std::string JsonPath::text() const {
  if (step == Step::root) return "scene";
  std::string text = parent->step == Step::root ? std::string() : parent->text();
  if (step == Step::index)
    text.append("[").append(std::to_string(index)).append("]");
  else if (!isPlainKey(key))
    text.append("[").append(quotedText(key)).append("]");
  else
    text.append(text.empty() ? "" : ".").append(key);
  return text;
}

std::string quotedText(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::size_t end = std::min(text.size(), kLongest);
  // Not within a character.
  while (end < text.size() && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) --end;
  std::string result =
      Json(std::string(text.substr(0, end))).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  if (end < text.size()) result += "...";
  return result;
}

std::string numberText(double value) {
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return {buffer, end};
}

bool parseJson(std::string_view text, JsonValue& document, Problems& problems) {
  if (text.size() > kMaxSceneBytes) {
    problems.add(kNowhere, "scene",
                 "the file is longer than the " + std::to_string(kMaxSceneBytes >> 20) + " MiB allowed");
    return false;
  }
  // The parser would take it for the end of the text.
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    problems.add(static_cast<std::uint32_t>(nul), {}, "a byte of 0 is no text; save the file as UTF-8");
    return false;
  }
  // The parser stops at a number that overflows. To look at the rest as well, the number's text is exchanged
  // for a zero, its place is remembered, and the text is parsed again.
  std::string patched(text);
  Overflows overflows;
  while (true) {
    Problems found = problems;
    TreeBuilder builder(patched, overflows, document, found);
    if (Json::sax_parse(patched, &builder, Json::input_format_t::json, true, true)) {
      problems = std::move(found);
      return true;
    }
    if (!builder.overflow()) {
      problems = std::move(found);
      return false;
    }
    const auto& [order, end, number] = *builder.overflow();
    if (overflows.size() == kMostOverflows) {
      problems.add(kNowhere, "scene",
                   "more than " + std::to_string(kMostOverflows) + " numbers that are not finite");
      return false;
    }
    patched.replace(end - number.size(), number.size(), number.size(), ' ');
    patched[end - number.size()] = '0';
    overflows.emplace(order, number);
  }
}

}  // namespace orv::scene
