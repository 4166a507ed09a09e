#include "scene/Setting.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "scene/Problems.h"
#include "scene/nearest_name.h"

namespace orv::scene {
namespace {

/// One step of a path: a key or a name, or the index of an item.
struct Step {
  std::string key;
  std::size_t index = 0;
  bool isIndex = false;
};

[[noreturn]] void refuse(std::string_view path, const std::string& finding) {
  throw SettingError(std::string(path.empty() ? "an empty path" : path), finding);
}

/// Where the brackets that open at `start` end: behind the `]`. Quoted text may hold one.
std::size_t endOfBrackets(std::string_view text, std::size_t start) {
  bool quoted = false;
  for (std::size_t i = start + 1; i < text.size(); ++i) {
    if (quoted && text[i] == '\\')
      ++i;
    else if (text[i] == '"')
      quoted = !quoted;
    else if (!quoted && text[i] == ']')
      return i + 1;
  }
  return std::string_view::npos;
}

Step bracketStep(std::string_view path, std::string_view inside) {
  Step step;
  if (inside.starts_with('"')) {
    Problems problems("path");
    JsonValue value;
    if (parseJson(inside, value, problems) && std::holds_alternative<std::string>(value.data)) {
      step.key = std::get<std::string>(value.data);
      return step;
    }
  }
  const char* const end = inside.data() + inside.size();
  const auto [rest, error] = std::from_chars(inside.data(), end, step.index);
  if (error != std::errc() || rest != end || inside.empty())
    refuse(path,
           std::string("[").append(inside).append("] is neither the number of an item nor a name in quotes"));
  step.isIndex = true;
  return step;
}

std::vector<Step> stepsOf(std::string_view path) {
  std::vector<Step> steps;
  for (std::size_t i = 0; i < path.size();) {
    if (path[i] == '[') {
      const std::size_t end = endOfBrackets(path, i);
      if (end == std::string_view::npos) refuse(path, "a bracket is not closed");
      steps.push_back(bracketStep(path, path.substr(i + 1, end - i - 2)));
      i = end;
      if (i < path.size() && path[i] != '.' && path[i] != '[')
        refuse(path, "a point or a bracket must follow a bracket");
      continue;
    }
    if (path[i] == '.' && !steps.empty()) ++i;
    const std::size_t end = std::min(path.find_first_of(".[", i), path.size());
    if (end == i) refuse(path, "a key is missing");
    steps.push_back({std::string(path.substr(i, end - i))});
    i = end;
  }
  if (steps.empty()) refuse(path, "a key is missing");
  return steps;
}

std::string placeText(const std::vector<Step>& steps, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    if (steps[i].isIndex)
      text.append("[").append(std::to_string(steps[i].index)).append("]");
    else
      text.append(text.empty() ? "" : ".").append(steps[i].key);
  }
  return text.empty() ? "scene" : text;
}

const std::string* nameOf(const JsonValue& item) {
  const auto* object = std::get_if<JsonObject>(&item.data);
  if (!object) return nullptr;
  for (const JsonMember& member : *object)
    if (member.key == "name") return std::get_if<std::string>(&member.value.data);
  return nullptr;
}

/// The only item of this name.
JsonValue& namedItem(JsonArray& items, const Setting& setting, const std::vector<Step>& steps,
                     std::size_t i) {
  std::vector<std::string_view> names;
  JsonValue* found = nullptr;
  for (JsonValue& item : items) {
    const std::string* const name = nameOf(item);
    if (!name) continue;
    names.push_back(*name);
    if (*name != steps[i].key) continue;
    if (found)
      refuse(setting.path, "several items of " + placeText(steps, i) + " are named " +
                               quotedText(steps[i].key) + "; give a number in brackets");
    found = &item;
  }
  if (found) return *found;
  refuse(setting.path, "nothing in " + placeText(steps, i) + " is named " + quotedText(steps[i].key) +
                           suggestion(steps[i].key, names) +
                           "; allowed: " + (names.empty() ? "a number in brackets" : listOf(names)));
}

JsonValue& indexedItem(JsonValue& of, const Setting& setting, const std::vector<Step>& steps, std::size_t i) {
  auto* const items = std::get_if<JsonArray>(&of.data);
  if (!items) refuse(setting.path, placeText(steps, i) + " is " + of.found() + " and has no items");
  if (steps[i].index >= items->size())
    refuse(setting.path, placeText(steps, i) + " has " + std::to_string(items->size()) +
                             (items->size() == 1 ? " item" : " items") + ", numbered from 0");
  return (*items)[steps[i].index];
}

JsonValue& member(JsonObject& object, const Step& step, bool last, std::uint32_t place) {
  for (JsonMember& each : object)
    if (each.key == step.key) return each.value;
  JsonValue added{{}, place, place};
  if (!last) added.data = JsonObject{};
  object.push_back({step.key, std::move(added)});
  return object.back().value;
}

/// Gives everything inside a value this place.
void setPlaces(JsonValue& value, std::uint32_t place) {
  const auto set = [place](JsonValue& inner) {
    inner.offset = inner.keyOffset = place;
    setPlaces(inner, place);
  };
  if (auto* const items = std::get_if<JsonArray>(&value.data))
    for (JsonValue& item : *items) set(item);
  else if (auto* const members = std::get_if<JsonObject>(&value.data))
    for (JsonMember& each : *members) set(each.value);
}

}  // namespace

std::pair<std::string, std::string> splitSetting(std::string_view text) {
  std::size_t end = 0;
  while (end < text.size() && text[end] != '=')
    end = text[end] == '[' ? std::min(endOfBrackets(text, end), text.size()) : end + 1;
  if (end == text.size()) refuse(text, "no value; allowed: PATH=VALUE, such as pins.key.azimuth=30");
  std::string path(text.substr(0, end));
  stepsOf(path);
  return {std::move(path), std::string(text.substr(end + 1))};
}

JsonValue settingValue(std::string_view text, const std::string& path) {
  Problems problems(path);
  JsonValue value;
  if (parseJson(text, value, problems) && problems.empty()) return value;
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) refuse(path, "no value; quotes are an empty text");
  if (std::string_view("[{\"").find(text[first]) != std::string_view::npos) {
    const Problem problem = problems.told(text).front();
    refuse(path, (problem.column > 0 ? "character " + std::to_string(problem.column) : problem.path) + ": " +
                     problem.text);
  }
  return {std::string(text)};
}

void apply(const Setting& setting, JsonValue& document, std::uint32_t number) {
  const std::vector<Step> steps = stepsOf(setting.path);
  const std::uint32_t place = kFromSetting + std::min(number, kWithoutText - kFromSetting - 1);
  JsonValue* at = &document;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Step& step = steps[i];
    if (step.isIndex) {
      at = &indexedItem(*at, setting, steps, i);
    } else if (auto* const items = std::get_if<JsonArray>(&at->data)) {
      at = &namedItem(*items, setting, steps, i);
    } else if (auto* const object = std::get_if<JsonObject>(&at->data)) {
      at = &member(*object, step, i + 1 == steps.size(), place);
    } else {
      refuse(setting.path, placeText(steps, i) + " is " + at->found() + " and has no keys");
    }
  }
  at->data = setting.value.data;
  at->offset = place;
  setPlaces(*at, place);
}

const JsonValue* valueAt(std::string_view path, const JsonValue& document) {
  const JsonValue* at = &document;
  for (const Step& step : stepsOf(path)) {
    const auto* const items = std::get_if<JsonArray>(&at->data);
    const auto* const object = std::get_if<JsonObject>(&at->data);
    at = nullptr;
    if (step.isIndex && items && step.index < items->size()) at = &(*items)[step.index];
    if (!step.isIndex && object)
      for (const JsonMember& each : *object)
        if (each.key == step.key) at = &each.value;
    if (!at) return nullptr;
  }
  return at;
}

}  // namespace orv::scene
