#include "scene/Job.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <utility>

#include "scene/json_text.h"
#include "scene/nearest_name.h"

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 6> kKeys{"scene", "set", "frame", "size", "output", "values"};

/// Reads the members of a job's line.
class JobReader {
 public:
  explicit JobReader(Problems& problems) : problems_(problems) {}

  void read(const JsonValue& line, Job& job) {
    const JsonPath root;
    const auto* object = std::get_if<JsonObject>(&line.data);
    if (!object) return refuse(line, root, "an object, a job");
    for (const JsonMember& member : *object) {
      const JsonPath place = root.child(member.key);
      const JsonValue& value = member.value;
      if (member.key == "scene")
        readScene(value, place, job);
      else if (member.key == "set")
        readSettings(value, place, job);
      else if (member.key == "frame")
        readFrame(value, place, job);
      else if (member.key == "size")
        readSize(value, place, job);
      else if (member.key == "output")
        readOutputs(value, place, job);
      else if (member.key == "values")
        readValues(value, place, job);
      else
        problems_.add(value.keyOffset, place.text(),
                      "not a key of a job" + suggestion(member.key, kKeys) + "; allowed: " + listOf(kKeys));
    }
    if (job.scene.empty() && job.sceneText.empty() && problems_.empty())
      problems_.add(line.offset, "scene", "missing; required: the path of a scene, or a scene");
  }

 private:
  void refuse(const JsonValue& value, const JsonPath& place, const std::string& allowed) {
    problems_.add(value.offset, place.step == JsonPath::Step::root ? "job" : place.text(),
                  value.found() + " found; allowed: " + allowed);
  }

  static bool readPath(const JsonValue& value, std::string& path) {
    const auto* text = std::get_if<std::string>(&value.data);
    if (!text || text->empty() || text->find('\0') != std::string::npos) return false;
    path = *text;
    return true;
  }

  void readScene(const JsonValue& value, const JsonPath& place, Job& job) {
    if (std::holds_alternative<JsonObject>(value.data))
      job.sceneText = toJson(value).dump();
    else if (!readPath(value, job.scene))
      refuse(value, place, "the path of a scene in quotes, a scene");
  }

  void readSettings(const JsonValue& value, const JsonPath& place, Job& job) {
    const auto* object = std::get_if<JsonObject>(&value.data);
    if (!object) return refuse(value, place, "an object of paths and their values");
    for (const JsonMember& member : *object) job.set.push_back({member.key, member.value});
  }

  void readFrame(const JsonValue& value, const JsonPath& place, Job& job) {
    if (!value.isNumber() || !std::isfinite(value.asDouble())) return refuse(value, place, "a number");
    job.frame = value.asDouble();
  }

  void readSize(const JsonValue& value, const JsonPath& place, Job& job) {
    const auto* array = std::get_if<JsonArray>(&value.data);
    double side[2] = {};
    bool good = array && array->size() == 2;
    for (std::size_t i = 0; good && i < 2; ++i) {
      good = (*array)[i].isNumber();
      side[i] = good ? (*array)[i].asDouble() : 0;
      good = side[i] >= 1 && side[i] <= kMaxSide && side[i] == std::floor(side[i]);
    }
    if (!good || side[0] * side[1] > static_cast<double>(kMaxPixels))
      return refuse(value, place,
                    "[width, height], two integers from 1 to " + std::to_string(kMaxSide) + ", at most " +
                        std::to_string(kMaxPixels) + " pixels");
    job.size = MapSize{static_cast<int>(side[0]), static_cast<int>(side[1])};
  }

  void readOutputs(const JsonValue& value, const JsonPath& place, Job& job) {
    const auto* array = std::get_if<JsonArray>(&value.data);
    std::string path;
    if (!array && readPath(value, path)) {
      job.outputs.push_back(path);
      return;
    }
    bool good = array && !array->empty();
    for (std::size_t i = 0; good && i < array->size(); ++i) {
      good = readPath((*array)[i], path);
      if (good) job.outputs.push_back(path);
    }
    if (!good) refuse(value, place, "the path of a file in quotes, an array of them");
  }

  void readValues(const JsonValue& value, const JsonPath& place, Job& job) {
    if (!std::holds_alternative<JsonObject>(value.data)) return refuse(value, place, "an object");
    job.values = toJson(value).dump();
  }

  Problems& problems_;
};

/// Whole numbers without a point.
Json numberJson(double number) {
  constexpr double kExactIntegers = 9007199254740992.0;
  if (std::abs(number) <= kExactIntegers && number == std::floor(number))
    return static_cast<std::int64_t>(number);
  return number;
}

/// The scene that stands in a job, without what its text has beside it.
Json sceneJson(const Job& job) {
  Problems problems(job.textName);
  JsonValue document;
  if (!parseJson(job.sceneText, document, problems)) problems.throwIfAny(job.sceneText);
  return toJson(document);
}

}  // namespace

Job parseJob(std::string_view line, const std::string& where) {
  Problems problems(where);
  JsonValue document;
  Job job;
  if (parseJson(line, document, problems)) JobReader(problems).read(document, job);
  if (problems.empty()) return job;
  std::vector<Problem> found = problems.told(line);
  // `where` names the line already.
  for (Problem& problem : found) problem.line = 0;
  throw SceneErrors(std::move(found));
}

Job readJob(const JsonValue& line, const std::string& where) {
  Problems problems(where);
  Job job;
  JobReader(problems).read(line, job);
  problems.throwIfAny({});
  return job;
}

std::string jobText(const Job& job) {
  Json line = Json::object();
  if (job.scene.empty())
    line["scene"] = sceneJson(job);
  else
    line["scene"] = job.scene;
  for (const Setting& setting : job.set) line["set"][setting.path] = toJson(setting.value);
  if (job.frame) line["frame"] = numberJson(*job.frame);
  if (job.size) line["size"] = {job.size->width, job.size->height};
  if (job.outputs.size() == 1)
    line["output"] = job.outputs.front();
  else if (!job.outputs.empty())
    line["output"] = job.outputs;
  if (!job.values.empty()) line["values"] = Json::parse(job.values);
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string jobTitle(const Job& job) {
  std::string title = job.scene.empty() ? job.textName : job.scene;
  if (job.frame) title += " frame " + numberText(*job.frame);
  return title;
}

std::string jobName(const Job& job) {
  return job.scene.empty() ? "scene" : std::filesystem::path(job.scene).stem().string();
}

Scene JobScenes::read(const Job& job) {
  const auto changed = [&job](const SceneDocument& document) {
    if (job.set.empty()) return document.read(job.frame);
    SceneDocument copy = document;
    for (const Setting& setting : job.set) copy.set(setting);
    return copy.read(job.frame);
  };
  if (job.scene.empty()) return changed(SceneDocument(job.sceneText, job.textName));
  auto found = documents_.find(job.scene);
  if (found == documents_.end()) {
    // As many as a call names by hand; jobs with a scene each do not pile up.
    constexpr std::size_t kMostKept = 64;
    if (documents_.size() == kMostKept) documents_.clear();
    found = documents_.emplace(job.scene, SceneDocument::load(job.scene)).first;
  }
  return changed(found->second);
}

}  // namespace orv::scene
