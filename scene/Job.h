#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scene/Scene.h"
#include "scene/SceneDocument.h"
#include "scene/Setting.h"

namespace orv::scene {

/// A map to be painted: a scene, what is changed of it, and where it goes. A line of JSON holds one (docs/
/// jobs.md). Paths of scenes and outputs are relative to the working directory.
struct Job {
  std::string scene = {};            ///< path of the scene's file; empty: `sceneText`
  std::string sceneText = {};        ///< JSON text of a scene that stands in the job itself
  std::string textName = "scene";    ///< what messages call that
  std::vector<Setting> set = {};     ///< in this order
  std::optional<double> frame = {};  ///< of values that change with time
  std::optional<MapSize> size = {};  ///< instead of the scene's
  std::vector<std::string> outputs = {};
  std::string values;  ///< JSON text of an object that is handed through; empty: none
};

/// Reads a job. @param where what messages call the line: `jobs.jsonl:12`.
/// @throws SceneErrors with everything that is wrong in it; the scene is not looked at.
Job parseJob(std::string_view line, const std::string& where);

/// Reads a job from its document. @throws SceneErrors as `parseJob`.
Job readJob(const JsonValue& line, const std::string& where);

/// The job as a line of JSON, without its newline. Parsing it gives the job back.
std::string jobText(const Job& job);

/// What messages call the job's scene: its path, or its text's name; with the frame where there is one.
std::string jobTitle(const Job& job);

/// The name of the job's scene: its file's without folder and ending, or `scene`.
std::string jobName(const Job& job);

/// Reads the scenes of jobs; each file once. One thread.
class JobScenes {
 public:
  /// The job's scene with its settings at its frame.
  /// @throws FileError, SceneErrors with everything that is wrong in it.
  Scene read(const Job& job);

 private:
  std::map<std::string, SceneDocument> documents_;
};

}  // namespace orv::scene
