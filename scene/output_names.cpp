#include "scene/output_names.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>

#include "scene/OutputFile.h"
#include "scene/nearest_name.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 4> kWords{"name", "frame", "index", "size"};

/// Four digits before the point at least, so that files sort.
std::string padded(double number) {
  const std::string text = numberText(number < 0 ? -number : number);
  const std::size_t digits = std::min(text.find('.'), text.size());
  std::string all(number < 0 ? 1 : 0, '-');
  all.append(digits < 4 ? 4 - digits : 0, '0');
  return all.append(text);
}

std::string sizeText(const std::string& name, const Job& job, JobScenes& scenes) {
  MapSize size = job.size.value_or(MapSize{});
  if (!job.size) {
    const Scene scene = scenes.read(job);
    if (!scene.sizeFromImage.empty())
      throw SettingError(name + ": {size} of " + jobTitle(job) +
                         " is that of a picture, which is not known before; give a size with --size");
    size = scene.size;
  }
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string wordText(const std::string& name, std::string_view word, const Job& job, std::size_t index,
                     JobScenes& scenes) {
  if (word == "name") return jobName(job);
  if (word == "index") return padded(static_cast<double>(index));
  if (word == "size") return sizeText(name, job, scenes);
  if (word != "frame")
    throw SettingError(name + ": {" + std::string(word) + "} is not a word of names" +
                       suggestion(word, kWords) +
                       "; allowed: {name}, {frame}, {index}, {size}, and {{ for a brace");
  if (!job.frame) throw SettingError(name + ": {frame} of " + jobTitle(job) + " is not known; give --frames");
  return padded(*job.frame);
}

}  // namespace

std::string expandName(const std::string& name, const Job& job, std::size_t index, JobScenes& scenes) {
  std::string text;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool doubled = (name[i] == '{' || name[i] == '}') && name.substr(i + 1, 1) == name.substr(i, 1);
    if (doubled) {
      text += name[i++];
      continue;
    }
    const std::size_t end = name[i] == '{' ? name.find('}', i) : std::string::npos;
    if (end == std::string::npos) {
      text += name[i];
      continue;
    }
    text += wordText(name, std::string_view(name).substr(i + 1, end - i - 1), job, index, scenes);
    i = end;
  }
  return text;
}

void checkOutputs(std::span<const Job> jobs) {
  std::unordered_set<std::string> scenes;
  for (const Job& job : jobs)
    if (!job.scene.empty()) scenes.insert(job.scene);
  std::unordered_set<std::string> sources;
  for (const std::string& path : scenes) sources.insert(outputTarget(path));
  std::unordered_set<std::string> folders;
  std::unordered_map<std::string, const Job*> seen;
  for (const Job& job : jobs) {
    for (const std::string& output : job.outputs) {
      const std::string target = outputTarget(output);
      if (sources.contains(target))
        throw SettingError("--output: " + target + " is the scene itself; give another file");
      const std::string folder = fs::path(output).parent_path().string();
      std::error_code error;
      // The only map's own failure says more.
      if (jobs.size() > 1 && folders.insert(folder).second &&
          !fs::is_directory(fs::path(".") / folder, error))
        throw SettingError(
            std::string(output).append(": there is no folder ").append(folder).append("; make it first"));
      if (output == kStandardOutput && jobs.size() > 1)
        throw SettingError("--output: -: standard output takes one map, these are " +
                           std::to_string(jobs.size()) + "; name a file for each");
      const auto [found, isNew] = seen.try_emplace(target, &job);
      if (isNew) continue;
      throw SettingError(output + ": two maps would have this name, of " + jobTitle(*found->second) +
                         " and of " + jobTitle(job) + "; put {name}, {frame}, {index} or {size} into it");
    }
  }
}

}  // namespace orv::scene
