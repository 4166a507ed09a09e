#include "scene/Manifest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "scene/OutputFile.h"
#include "scene/SceneErrors.h"

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

/// What tells one job from another in a manifest.
std::string outputsOf(const Json& output) {
  return (output.is_array() ? output : Json::array({output})).dump();
}
std::string outputsOf(const Job& job) {
  return Json(job.outputs).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// The outputs of a line's job; empty for what is no line of a manifest.
std::string outputsOfLine(const std::string& line) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object() || !json.contains("job") || !json["job"].is_object() ||
      !json["job"].contains("output"))
    return {};
  return outputsOf(json["job"]["output"]);
}

/// Six digits are more than anybody asks for; numbers that are not finite have no JSON.
Json figure(double number) {
  if (!std::isfinite(number)) return nullptr;
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", number);
  return std::strtod(text, nullptr);
}

const char* nameOf(JobOutcome::Status status) {
  switch (status) {
    case JobOutcome::Status::painted:
      return "painted";
    case JobOutcome::Status::skipped:
      return "skipped";
    case JobOutcome::Status::failed:
      return "failed";
  }
  return "";
}

}  // namespace

Manifest::Manifest(const std::string& path, bool takeUp, const std::vector<Job>& paintedAnew)
    : path_(path == kStandardOutput ? "standard output" : path) {
  if (const int given = outputDescriptor(path); given >= 0) {
    descriptor_ = ::fcntl(given, F_DUPFD_CLOEXEC, 3);
    if (descriptor_ < 0) throw FileError(path_ + ": cannot be written: " + std::strerror(errno));
    return;
  }
  std::string text;
  if (takeUp) {
    std::unordered_set<std::string> dropped;
    for (const Job& job : paintedAnew) dropped.insert(outputsOf(job));
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
      const std::string outputs = outputsOfLine(line);
      if (outputs.empty() || dropped.contains(outputs) || !kept_.insert(outputs).second) continue;
      text += line + "\n";
    }
  }
  OutputFile file(path);
  file.write(text.data(), text.size(), 0);
  file.finish();
  file.commit();
  descriptor_ = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (descriptor_ < 0) throw FileError(path + ": cannot be written: " + std::strerror(errno));
}

Manifest::~Manifest() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool Manifest::has(const Job& job) const { return kept_.contains(outputsOf(job)); }

void Manifest::add(const Job& job, const JobOutcome& outcome) {
  const std::string line = manifestLine(job, outcome) + "\n";
  for (std::size_t written = 0; written < line.size();) {
    const ssize_t n = ::write(descriptor_, line.data() + written, line.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw FileError(path_ + ": cannot be written: " + std::strerror(errno));
    written += static_cast<std::size_t>(n);
  }
}

std::string manifestLine(const Job& job, const JobOutcome& outcome) {
  Json line;
  line["job"] = Json::parse(jobText(job));
  line["status"] = nameOf(outcome.status);
  if (!outcome.error.empty()) line["error"] = outcome.error;
  line["seconds"] = figure(outcome.seconds);
  if (outcome.light) {
    const auto& [r, g, b] = outcome.light->mean;
    line["mean"] = {figure(r), figure(g), figure(b)};
    line["peak"] = figure(outcome.light->brightest);
  }
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace orv::scene
