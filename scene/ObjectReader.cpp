#include "scene/ObjectReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "scene/json_text.h"
#include "scene/light_color.h"

namespace orv::scene {
namespace {

using Names = std::vector<std::string_view>;

constexpr Number kStops = Number::within(double{-Exposure::kMost}, double{Exposure::kMost});
constexpr Number kKelvin = Number::within(kLowestTemperature, kHighestTemperature);

/// `above 0 and at most 180`; empty when every number is allowed.
std::string rangeText(const Number& type) {
  std::string text;
  if (std::isfinite(type.min)) text = (type.minExcluded ? "above " : "at least ") + numberText(type.min);
  if (std::isfinite(type.max))
    text += (text.empty() ? "" : " and ") + std::string(type.maxExcluded ? "below " : "at most ") +
            numberText(type.max);
  return text;
}

}  // namespace

std::string ObjectReader::allowed(const Number& type) {
  const std::string range = rangeText(type);
  return range.empty() ? "a number" : "a number " + range;
}

std::string ObjectReader::allowed(Exposure) { return allowed(kStops); }
std::string ObjectReader::allowed(Temperature) { return allowed(kKelvin); }

std::string ObjectReader::allowed(const Integer& type) {
  if (type.min == type.max) return std::to_string(type.min);
  return "an integer from " + std::to_string(type.min) + " to " + std::to_string(type.max);
}

Names ObjectReader::namesFor(const Name& type) {
  Names names;
  for (const NameRow& row : type.names)
    if ((row.uses & type.uses) != 0 && std::find(names.begin(), names.end(), row.name) == names.end())
      names.push_back(row.name);
  return names;
}

const JsonValue* ObjectReader::memberOf(const Place& place, std::string_view key) {
  for (const JsonMember& member : std::get<JsonObject>(place.value.data))
    if (member.key == key) return &member.value;
  return nullptr;
}

bool ObjectReader::addKey(Members& members, std::string_view key) {
  // Alternatives of a choice share keys.
  if (!members.chosen && std::find(members.keys.begin(), members.keys.end(), key) != members.keys.end())
    return false;
  members.keys.push_back(key);
  return key != members.tag;
}

bool ObjectReader::refuse(const Place& place, const std::string& finding) {
  problems_.add(place.value.offset, place.path.text(), finding);
  return false;
}

bool ObjectReader::refuseType(const Place& place, const std::string& allowed) {
  return refuse(place, place.value.found() + " found; allowed: " + allowed);
}

void ObjectReader::readComment(const Place& place) {
  const JsonValue* const found = memberOf(place, kCommentKey);
  if (!found) return;
  std::string text;
  if (!read(Text{}, {*found, place.path.child(kCommentKey)}, text) || !comments_.comments) return;
  // As seen from who keeps it: without its own path and the point behind that.
  std::string path = place.path.text();
  if (path == comments_.place)
    path.clear();
  else if (comments_.place != JsonPath().text())
    path.erase(0, comments_.place.size() + 1);
  comments_.comments->push_back({std::move(path), std::move(text)});
}

bool ObjectReader::isKnown(const Members& members, std::string_view key) {
  return key == kCommentKey || std::find(members.keys.begin(), members.keys.end(), key) != members.keys.end();
}

bool ObjectReader::hasUnknownKeys(const Members& members) {
  const auto& object = std::get<JsonObject>(members.place.value.data);
  return !std::all_of(object.begin(), object.end(),
                      [&](const JsonMember& member) { return isKnown(members, member.key); });
}

void ObjectReader::checkKeys(const Members& members) {
  if (members.misplaced) return;  // They may be right where the name is.
  const Names& keys = members.keys;
  for (const JsonMember& member : std::get<JsonObject>(members.place.value.data)) {
    if (isKnown(members, member.key)) continue;
    const auto owner = std::find_if(members.nested.begin(), members.nested.end(),
                                    [&](const auto& nested) { return nested.first == member.key; });
    const std::string hint = owner == members.nested.end()
                                 ? suggestion(member.key, keys)
                                 : " (it belongs in \"" + std::string(owner->second) + "\")";
    problems_.add(member.value.keyOffset, members.place.path.child(member.key).text(),
                  "not a key of " + members.owner + hint + "; allowed: " + listOf(keys));
  }
}

void ObjectReader::checkAscending(const Place& place, std::string_view key, float value, float& last) {
  if (value < last) {
    const JsonValue& found = *memberOf(place, key);
    refuse({found, place.path.child(key)}, found.found() + " is below the " + std::string(key) +
                                               " before it; allowed: at least " +
                                               numberText(static_cast<double>(last)));
  }
  if (!std::isnan(value)) last = value;
}

bool ObjectReader::read(const Number& type, const Place& place, float& result) {
  const JsonValue& value = place.value;
  if (!value.isNumber()) return refuseType(place, allowed(type));
  const double number = value.asDouble();
  if (!(std::abs(number) <= static_cast<double>(std::numeric_limits<float>::max())))
    return refuse(place, value.found() + " is not finite as a 32-bit float; allowed: " + allowed(type));
  // Both as written and as the 32-bit float that is painted with.
  const auto rounded = static_cast<float>(number);
  const std::string range =
      std::isfinite(type.min) && std::isfinite(type.max) ? "; allowed: " + rangeText(type) : std::string();
  for (const double x : {number, static_cast<double>(rounded)}) {
    if (type.minExcluded ? !(x > type.min) : !(x >= type.min))
      return refuse(place, value.found() + (type.minExcluded ? " is not above " : " is below ") +
                               numberText(type.min) + range);
    if (type.maxExcluded ? !(x < type.max) : !(x <= type.max))
      return refuse(place, value.found() + (type.maxExcluded ? " is not below " : " is above ") +
                               numberText(type.max) + range);
  }
  result = rounded;
  return true;
}

bool ObjectReader::read(Exposure, const Place& place, float& result) {
  float stops = 0;
  if (!read(kStops, place, stops)) return false;
  const float product = result * std::exp2(stops);
  if (!std::isfinite(product))
    return refuse(place, place.value.found() + " stops of " + numberText(static_cast<double>(result)) +
                             " are not finite as a 32-bit float; allowed: less light");
  result = product;
  return true;
}

bool ObjectReader::read(Temperature, const Place& place, std::tuple<float&, float&, float&>& result) {
  float kelvin = 0;
  if (!read(kKelvin, place, kelvin)) return false;
  const hdri::Rgb color = lightColor(static_cast<double>(kelvin));
  result = std::tuple(color.r, color.g, color.b);
  return true;
}

std::optional<std::int64_t> ObjectReader::readInteger(const Integer& type, const Place& place) {
  // 1.0 counts as an integer.
  const double number = place.value.isNumber() ? place.value.asDouble() : 0.5;
  if (number >= static_cast<double>(type.min) && number <= static_cast<double>(type.max) &&
      number == std::floor(number))
    return static_cast<std::int64_t>(number);
  refuseType(place, allowed(type));
  return std::nullopt;
}

bool ObjectReader::read(Flag type, const Place& place, bool& result) {
  const bool* found = std::get_if<bool>(&place.value.data);
  if (!found) return refuseType(place, allowed(type));
  result = *found;
  return true;
}

bool ObjectReader::read(Text type, const Place& place, std::string& result) {
  const auto* found = std::get_if<std::string>(&place.value.data);
  if (!found || (type.isPath && (found->empty() || found->find('\0') != std::string::npos)))
    return refuseType(place, allowed(type));
  result = *found;
  return true;
}

bool ObjectReader::read(Color type, const Place& place, std::tuple<float&, float&, float&>& result) {
  const auto* array = std::get_if<JsonArray>(&place.value.data);
  if (!array || array->size() != 3) return refuseType(place, allowed(type));
  float channels[3] = {};
  bool good = true;
  for (std::size_t i = 0; i < 3; ++i)
    good &= read(Number::any(), {(*array)[i], place.path.child(i)}, channels[i]);
  if (good) result = std::tuple(channels[0], channels[1], channels[2]);
  return good;
}

bool ObjectReader::read(Size type, const Place& place, MapSize& result) {
  const auto* array = std::get_if<JsonArray>(&place.value.data);
  if (!array || array->size() != 2) return refuseType(place, allowed(type));
  std::int64_t side[2] = {};
  bool good = true;
  for (std::size_t i = 0; i < 2; ++i)
    good &= read(Integer{1, kMaxSide}, {(*array)[i], place.path.child(i)}, side[i]);
  if (!good) return false;
  if (side[0] * side[1] > kMaxPixels)
    return refuse(place, std::to_string(side[0]) + " x " + std::to_string(side[1]) + " is " +
                             std::to_string(side[0] * side[1]) + " pixels; allowed: at most " +
                             std::to_string(kMaxPixels));
  result = {static_cast<int>(side[0]), static_cast<int>(side[1])};
  return true;
}

void ObjectReader::checkFinite(const JsonValue& value, const JsonPath& path) {
  if (const auto* array = std::get_if<JsonArray>(&value.data)) {
    for (std::size_t i = 0; i < array->size(); ++i) checkFinite((*array)[i], path.child(i));
  } else if (const auto* object = std::get_if<JsonObject>(&value.data)) {
    for (const JsonMember& member : *object) checkFinite(member.value, path.child(member.key));
  } else if (value.isNumber() && !std::isfinite(value.asDouble())) {
    refuse({value, path}, value.found() + " is not finite");
  }
}

bool ObjectReader::read(FreeObject type, const Place& place, std::string& result) {
  if (!std::holds_alternative<JsonObject>(place.value.data)) return refuseType(place, allowed(type));
  // Numbers that overflow could not be given back.
  checkFinite(place.value, place.path);
  result = toJson(place.value).dump();
  return true;
}

const NameRow* ObjectReader::readName(const Name& type, const Place& place) {
  const Names names = namesFor(type);
  const auto* found = std::get_if<std::string>(&place.value.data);
  bool isName = false;
  for (const NameRow& row : type.names) {
    if (!found || row.name != *found) continue;
    if ((row.uses & type.uses) != 0) return &row;
    isName = true;
  }
  std::string finding = place.value.found();
  if (isName)
    finding.append(" ").append(type.misplaced);
  else
    finding.append(" found").append(found ? suggestion(*found, names) : "");
  refuse(place, finding + "; allowed: " + listOf(names));
  return nullptr;
}

}  // namespace orv::scene
