#include "scene/json_text.h"

#include <cmath>

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kLineWidth = 100;

/// Appends `json` on one line; false, with `text` as far as it came, when that grows beyond `limit`.
bool appendInline(const Json& json, std::size_t limit, std::string& text) {
  if (!json.is_structured()) {
    text += json.dump();
    return text.size() <= limit;
  }
  text += json.is_array() ? '[' : '{';
  bool first = true;
  for (auto member = json.begin(); member != json.end(); ++member) {
    if (!first) text += ", ";
    first = false;
    if (json.is_object()) text += Json(member.key()).dump() + ": ";
    if (text.size() > limit || !appendInline(*member, limit, text)) return false;
  }
  text += json.is_array() ? ']' : '}';
  return text.size() <= limit;
}

void append(const Json& json, std::size_t indent, bool canBeInline, std::string& text) {
  const std::size_t lineStart = text.rfind('\n') + 1;  // 0 when there is none
  const std::size_t size = text.size();
  if ((canBeInline && appendInline(json, lineStart + kLineWidth, text)) || !json.is_structured()) return;
  text.resize(size);
  if (!canBeInline && json.empty()) {
    text += json.is_array() ? "[]" : "{}";
    return;
  }
  text += json.is_array() ? '[' : '{';
  std::string newLine(indent + 3, ' ');
  newLine[0] = '\n';
  bool first = true;
  for (auto member = json.begin(); member != json.end(); ++member) {
    if (!first) text += ',';
    text += newLine;
    first = false;
    if (json.is_object()) text += Json(member.key()).dump() + ": ";
    append(*member, indent + 2, true, text);
  }
  text.append(newLine, 0, indent + 1);
  text += json.is_array() ? ']' : '}';
}

}  // namespace

Json toJson(const JsonValue& value) {
  struct Visitor {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const WrittenNumber& number) const {
      return std::isfinite(number.value) ? Json(number.value) : Json(nullptr);
    }
    Json operator()(bool flag) const { return flag; }
    Json operator()(std::int64_t integer) const { return integer; }
    Json operator()(std::uint64_t natural) const { return natural; }
    Json operator()(double number) const { return number; }
    Json operator()(const std::string& text) const { return text; }
    Json operator()(const JsonArray& array) const {
      Json::array_t items;
      items.reserve(array.size());
      for (const JsonValue& item : array) items.push_back(toJson(item));
      return Json(std::move(items));
    }
    Json operator()(const JsonObject& object) const {
      // Straight into the members: each key is known to stand once, and a search for it is slow.
      Json::object_t members;
      members.reserve(object.size());
      for (const JsonMember& member : object)
        members.Json::object_t::Container::emplace_back(member.key, toJson(member.value));
      return Json(std::move(members));
    }
  };
  return std::visit(Visitor{}, value.data);
}

std::string prettyText(const Json& json) {
  std::string text;
  append(json, 0, false, text);
  return text + "\n";
}

}  // namespace orv::scene
