#include "scene/ObjectReader.h"

#include <algorithm>
#include <cmath>

namespace orv::scene {
namespace {

constexpr double kLargestFloat = std::numeric_limits<float>::max();

/// `a number above 0`, for messages about values of another type.
std::string numberAllowed(const NumberRange& range) {
  const std::string text = range.text();
  return text.empty() ? "a number" : "a number " + text;
}

std::string notOfType(const JsonValue& value, std::string_view allowed) {
  return value.found() + " found; allowed: " + std::string(allowed);
}

}  // namespace

std::string NumberRange::text() const {
  std::string text;
  if (std::isfinite(min)) text = (minExcluded ? "above " : "at least ") + numberText(min);
  if (std::isfinite(max))
    text +=
        (text.empty() ? "" : " and ") + std::string(maxExcluded ? "below " : "at most ") + numberText(max);
  return text;
}

bool readNumber(const JsonValue& value, const JsonPath& path, const NumberRange& range, Problems& problems,
                float& result) {
  const auto refuse = [&](const std::string& finding) {
    problems.add(value.order, path.text(), finding);
    return false;
  };
  if (!value.isNumber()) return refuse(notOfType(value, numberAllowed(range)));
  const double number = value.asDouble();
  if (!(std::abs(number) <= kLargestFloat))
    return refuse(value.found() + " is not finite as a 32-bit float; allowed: " + numberAllowed(range));
  // Both as written and as the 32-bit float that is painted with.
  const auto rounded = static_cast<float>(number);
  const std::string allowed =
      std::isfinite(range.min) && std::isfinite(range.max) ? "; allowed: " + range.text() : std::string();
  for (const double x : {number, static_cast<double>(rounded)}) {
    if (range.minExcluded ? !(x > range.min) : !(x >= range.min))
      return refuse(value.found() + (range.minExcluded ? " is not above " : " is below ") +
                    numberText(range.min) + allowed);
    if (range.maxExcluded ? !(x < range.max) : !(x <= range.max))
      return refuse(value.found() + (range.maxExcluded ? " is not below " : " is above ") +
                    numberText(range.max) + allowed);
  }
  result = rounded;
  return true;
}

bool readInteger(const JsonValue& value, const JsonPath& path, std::int64_t min, std::int64_t max,
                 Problems& problems, std::int64_t& result) {
  const std::string allowed = min == max
                                  ? std::to_string(min)
                                  : "an integer from " + std::to_string(min) + " to " + std::to_string(max);
  const double number = value.isNumber() ? value.asDouble() : 0.5;
  if (!(number >= static_cast<double>(min) && number <= static_cast<double>(max)) ||
      number != std::floor(number)) {
    problems.add(value.order, path.text(), notOfType(value, allowed));
    return false;
  }
  result = static_cast<std::int64_t>(number);
  return true;
}

ObjectReader::ObjectReader(const JsonValue& value, const JsonPath& path, Problems& problems,
                           std::span<const std::string_view> keys, std::string_view owner)
    : value_(value), object_(std::get_if<JsonObject>(&value.data)), path_(path), problems_(problems) {
  if (!object_) {
    problems_.add(value.order, path.text(), notOfType(value, "an object, " + std::string(owner)));
    return;
  }
  for (const JsonMember& member : *object_) {
    if (std::find(keys.begin(), keys.end(), member.key) != keys.end()) continue;
    report(
        member.key, member.value,
        "not a key of " + std::string(owner) + suggestion(member.key, keys) + "; allowed: " + listOf(keys));
  }
}

const JsonValue* ObjectReader::find(std::string_view key, Need need, std::string_view allowed) {
  if (!object_) return nullptr;
  for (const JsonMember& member : *object_)
    if (member.key == key) return &member.value;
  if (need == Need::required) report(key, value_, "missing; required: " + std::string(allowed));
  return nullptr;
}

void ObjectReader::report(std::string_view key, const JsonValue& value, const std::string& finding) {
  problems_.add(value.order, path_.child(key).text(), finding);
}

bool ObjectReader::number(std::string_view key, const NumberRange& range, float& result, Need need) {
  const JsonValue* value = find(key, need, numberAllowed(range));
  return value && readNumber(*value, path_.child(key), range, problems_, result);
}

bool ObjectReader::integer(std::string_view key, std::int64_t min, std::int64_t max, std::int64_t& result,
                           Need need) {
  const JsonValue* value = find(key, need, min == max ? std::to_string(min) : "an integer");
  return value && readInteger(*value, path_.child(key), min, max, problems_, result);
}

bool ObjectReader::boolean(std::string_view key, bool& result) {
  const JsonValue* value = find(key, Need::optional, {});
  if (!value) return false;
  const bool* found = std::get_if<bool>(&value->data);
  if (!found) {
    report(key, *value, notOfType(*value, "true, false"));
    return false;
  }
  result = *found;
  return true;
}

bool ObjectReader::color(std::string_view key, hdri::Rgb& result, Need need) {
  constexpr std::string_view kAllowed = "[red, green, blue], three numbers";
  const JsonValue* value = find(key, need, kAllowed);
  if (!value) return false;
  const auto* array = std::get_if<JsonArray>(&value->data);
  if (!array || array->size() != 3) {
    report(key, *value, notOfType(*value, kAllowed));
    return false;
  }
  float channels[3] = {};
  bool good = true;
  const JsonPath place = path_.child(key);
  for (std::size_t i = 0; i < 3; ++i)
    good &= readNumber((*array)[i], place.child(i), NumberRange::any(), problems_, channels[i]);
  if (good) result = {channels[0], channels[1], channels[2]};
  return good;
}

const std::string* ObjectReader::string(std::string_view key, Need need, std::string_view allowed) {
  const JsonValue* value = find(key, need, allowed);
  if (!value) return nullptr;
  const auto* found = std::get_if<std::string>(&value->data);
  if (!found) report(key, *value, notOfType(*value, allowed));
  return found;
}

bool ObjectReader::text(std::string_view key, std::string& result) {
  const std::string* found = string(key, Need::optional, "text in quotes");
  if (found) result = *found;
  return found != nullptr;
}

bool ObjectReader::path(std::string_view key, std::string& result, Need need) {
  constexpr std::string_view kAllowed = "the path of an image file, in quotes";
  const std::string* found = string(key, need, kAllowed);
  if (!found) return false;
  if (found->empty() || found->find('\0') != std::string::npos) {
    const JsonValue* value = find(key, need, kAllowed);
    report(key, *value, notOfType(*value, kAllowed));
    return false;
  }
  result = *found;
  return true;
}

std::optional<std::size_t> ObjectReader::nameIndex(std::string_view key,
                                                   std::span<const std::string_view> names, Need need) {
  const std::string allowed = listOf(names);
  const std::string* found = string(key, need, allowed);
  if (!found) return std::nullopt;
  const auto at = std::find(names.begin(), names.end(), *found);
  if (at != names.end()) return static_cast<std::size_t>(at - names.begin());
  const JsonValue* value = find(key, need, allowed);
  report(key, *value, quotedText(*found) + " found" + suggestion(*found, names) + "; allowed: " + allowed);
  return std::nullopt;
}

bool ObjectReader::integerPair(std::string_view key, std::int64_t min, std::int64_t max,
                               std::int64_t (&result)[2]) {
  const JsonValue* value = find(key, Need::optional, {});
  if (!value) return false;
  const auto* array = std::get_if<JsonArray>(&value->data);
  if (!array || array->size() != 2) {
    report(key, *value, notOfType(*value, "[width, height], two integers"));
    return false;
  }
  bool good = true;
  const JsonPath place = path_.child(key);
  for (std::size_t i = 0; i < 2; ++i)
    good &= readInteger((*array)[i], place.child(i), min, max, problems_, result[i]);
  return good;
}

}  // namespace orv::scene
