#include "scene/animation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "scene/nearest_name.h"
#include "scene/scene_names.h"

namespace orv::scene {
namespace {

constexpr std::array<std::string_view, 3> kInterpolations{"linear", "smooth", "step"};

bool isAzimuth(std::string_view key) { return key == "azimuth" || key == "turn" || key == "northOffset"; }

const JsonValue* memberOf(const JsonObject& object, std::string_view key) {
  const auto found = std::find_if(object.begin(), object.end(),
                                  [key](const JsonMember& member) { return member.key == key; });
  return found == object.end() ? nullptr : &found->value;
}

/// A value's keys, checked: frames ascend strictly.
struct Keys {
  std::vector<double> frames;
  std::vector<const JsonValue*> values;
  std::string_view interpolation = "linear";
};

/// Where a frame lies among keys: behind key `index`, `part` of the way to the next one.
struct Position {
  std::size_t index = 0;
  double part = 0;
};

Position positionOf(double frame, const std::vector<double>& frames) {
  if (!(frame > frames.front())) return {0, 0};
  const auto after = std::upper_bound(frames.begin(), frames.end(), frame);
  const auto index = static_cast<std::size_t>(after - frames.begin()) - 1;
  if (after == frames.end()) return {index, 0};
  return {index, (frame - frames[index]) / (frames[index + 1] - frames[index])};
}

/// Values of an angle with differences of at most half a turn.
void unwind(std::vector<double>& degrees) {
  for (std::size_t i = 1; i < degrees.size(); ++i)
    degrees[i] = degrees[i - 1] + std::remainder(degrees[i] - degrees[i - 1], 360.0);
}

/// Slope of a smooth curve at key `i`, in values a frame; it lets no curve leave the range of its two keys.
double slopeAt(std::size_t i, const std::vector<double>& frames, const std::vector<double>& values) {
  if (i == 0 || i + 1 == frames.size()) return 0;
  const double before = frames[i] - frames[i - 1];
  const double after = frames[i + 1] - frames[i];
  const double in = (values[i] - values[i - 1]) / before;
  const double out = (values[i + 1] - values[i]) / after;
  if (!(in * out > 0)) return 0;
  const double parabola = (in * after + out * before) / (before + after);
  const double least = std::min({std::abs(in), std::abs(out), 0.5 * std::abs(parabola)});
  return std::copysign(2 * least, in);
}

double between(const Position& at, const Keys& keys, const std::vector<double>& values) {
  const double a = values[at.index];
  const double b = values[at.index + 1];
  const double t = at.part;
  if (keys.interpolation == "linear") return a + (b - a) * t;
  const double span = keys.frames[at.index + 1] - keys.frames[at.index];
  const double slopeA = slopeAt(at.index, keys.frames, values) * span;
  const double slopeB = slopeAt(at.index + 1, keys.frames, values) * span;
  const double cubic =
      a + t * (slopeA + t * (3 * (b - a) - 2 * slopeA - slopeB + t * (2 * (a - b) + slopeA + slopeB)));
  return std::clamp(cubic, std::min(a, b), std::max(a, b));
}

class Resolver {
 public:
  Resolver(double frame, Problems& problems) : frame_(frame), problems_(problems) {}

  void resolve(JsonValue& value, const JsonPath& path) {
    if (auto* array = std::get_if<JsonArray>(&value.data)) {
      for (std::size_t i = 0; i < array->size(); ++i) resolve((*array)[i], path.child(i));
      return;
    }
    auto* object = std::get_if<JsonObject>(&value.data);
    if (!object) return;
    if (path.step != JsonPath::Step::root && memberOf(*object, "keys")) {
      const std::optional<Keys> keys = keysOf(value, *object, path);
      if (!keys) return;
      JsonValue now = valueOf(*keys, positionOf(frame_, keys->frames), keys->values, isAzimuth(path.key));
      value.data = std::move(now.data);
      return;
    }
    for (JsonMember& member : *object) {
      const bool ofTools = path.step == JsonPath::Step::root && member.key == "view";
      if (!ofTools) resolve(member.value, path.child(member.key));
    }
  }

 private:
  std::nullopt_t refuse(const JsonValue& value, const JsonPath& path, const std::string& finding) {
    problems_.add(value.offset, path.text(), finding);
    return std::nullopt;
  }

  std::optional<Keys> keysOf(const JsonValue& value, const JsonObject& object, const JsonPath& path) {
    Keys keys;
    for (const JsonMember& member : object) {
      if (member.key == "keys") continue;
      const JsonPath place = path.child(member.key);
      if (member.key == kCommentKey) {
        if (!std::holds_alternative<std::string>(member.value.data))
          return refuse(member.value, place, member.value.found() + " found; allowed: text in quotes");
        continue;
      }
      if (member.key != "interpolation") {
        const std::array<std::string_view, 2> allowed{"keys", "interpolation"};
        return refuse(member.value, place,
                      "not a key of a value that changes" + suggestion(member.key, allowed) +
                          "; allowed: " + listOf(allowed));
      }
      const auto* name = std::get_if<std::string>(&member.value.data);
      const auto found = std::find(kInterpolations.begin(), kInterpolations.end(), name ? *name : "");
      if (found == kInterpolations.end())
        return refuse(member.value, place,
                      member.value.found() + " found" + (name ? suggestion(*name, kInterpolations) : "") +
                          "; allowed: " + listOf(kInterpolations));
      keys.interpolation = *found;
    }
    const JsonPath place = path.child("keys");
    const JsonValue& list = *memberOf(object, "keys");
    const auto* pairs = std::get_if<JsonArray>(&list.data);
    if (!pairs || pairs->empty())
      return refuse(pairs ? list : value, place,
                    list.found() + " found; allowed: [[frame, value], ...], at least one");
    for (std::size_t i = 0; i < pairs->size(); ++i) {
      const JsonPath keyPlace = place.child(i);
      const auto* pair = std::get_if<JsonArray>(&(*pairs)[i].data);
      if (!pair || pair->size() != 2 || !(*pair)[0].isNumber())
        return refuse((*pairs)[i], keyPlace, (*pairs)[i].found() + " found; allowed: [frame, value]");
      const double frame = (*pair)[0].asDouble();
      if (!std::isfinite(frame) || (!keys.frames.empty() && !(frame > keys.frames.back())))
        return refuse((*pair)[0], keyPlace.child(std::size_t{0}),
                      (*pair)[0].found() + " is not above the frame before it");
      keys.frames.push_back(frame);
      keys.values.push_back(&(*pair)[1]);
    }
    return keys;
  }

  /// What `values`, one for each key, are at a position.
  static JsonValue valueOf(const Keys& keys, const Position& at, const std::vector<const JsonValue*>& values,
                           bool azimuth) {
    const JsonValue& last = *values[at.index];
    if (at.part == 0 || keys.interpolation == "step") return last;
    const auto all = [&](auto&& isIt) { return std::all_of(values.begin(), values.end(), isIt); };
    if (all([](const JsonValue* value) { return value->isNumber() && std::isfinite(value->asDouble()); })) {
      std::vector<double> numbers;
      numbers.reserve(values.size());
      for (const JsonValue* value : values) numbers.push_back(value->asDouble());
      if (azimuth) unwind(numbers);
      const double now = between(at, keys, numbers);
      return {azimuth ? std::fmod(now, 360.0) + 0.0 : now, last.offset, last.keyOffset};
    }
    if (const auto* items = std::get_if<JsonArray>(&last.data)) {
      const auto alike = [&](const JsonValue* value) {
        const auto* array = std::get_if<JsonArray>(&value->data);
        return array && array->size() == items->size();
      };
      if (!all(alike)) return last;
      JsonArray now;
      for (std::size_t i = 0; i < items->size(); ++i) {
        std::vector<const JsonValue*> each;
        each.reserve(values.size());
        for (const JsonValue* value : values) each.push_back(&std::get<JsonArray>(value->data)[i]);
        now.push_back(valueOf(keys, at, each, false));
      }
      return {std::move(now), last.offset, last.keyOffset};
    }
    if (const auto* members = std::get_if<JsonObject>(&last.data)) {
      JsonObject now;
      for (const JsonMember& member : *members) {
        if (member.key == kCommentKey) {
          now.push_back(member);
          continue;
        }
        std::vector<const JsonValue*> each;
        for (const JsonValue* value : values) {
          const auto* object = std::get_if<JsonObject>(&value->data);
          const JsonValue* found = object ? memberOf(*object, member.key) : nullptr;
          if (!found) return last;
          each.push_back(found);
        }
        now.push_back({member.key, valueOf(keys, at, each, isAzimuth(member.key))});
      }
      return {std::move(now), last.offset, last.keyOffset};
    }
    return last;
  }

  double frame_;
  Problems& problems_;
};

void collectFrames(const JsonValue& value, bool atRoot, std::vector<double>& frames) {
  if (const auto* array = std::get_if<JsonArray>(&value.data)) {
    for (const JsonValue& item : *array) collectFrames(item, false, frames);
  } else if (const auto* object = std::get_if<JsonObject>(&value.data)) {
    for (const JsonMember& member : *object) {
      const auto* pairs = std::get_if<JsonArray>(&member.value.data);
      if (member.key == "keys" && pairs) {
        for (const JsonValue& pair : *pairs)
          if (const auto* both = std::get_if<JsonArray>(&pair.data);
              both && !both->empty() && both->front().isNumber())
            frames.push_back(both->front().asDouble());
      } else if (!atRoot || member.key != "view") {
        collectFrames(member.value, false, frames);
      }
    }
  }
}

}  // namespace

void resolveAnimations(JsonValue& document, double frame, Problems& problems) {
  const JsonPath root;
  Resolver(frame, problems).resolve(document, root);
}

bool isAnimated(const JsonValue& document) {
  const auto anyIn = [](const auto& self, const JsonValue& value, bool atRoot) -> bool {
    if (const auto* array = std::get_if<JsonArray>(&value.data))
      return std::any_of(array->begin(), array->end(),
                         [&](const JsonValue& item) { return self(self, item, false); });
    const auto* object = std::get_if<JsonObject>(&value.data);
    return object && std::any_of(object->begin(), object->end(), [&](const JsonMember& member) {
             if (atRoot && member.key == "view") return false;
             return (!atRoot && member.key == "keys") || self(self, member.value, false);
           });
  };
  return anyIn(anyIn, document, true);
}

std::vector<double> keyFrames(const JsonValue& document) {
  std::vector<double> frames;
  collectFrames(document, true, frames);
  std::sort(frames.begin(), frames.end());
  frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
  return frames;
}

}  // namespace orv::scene
