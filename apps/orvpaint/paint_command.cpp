#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <vector>

#include "commands.h"
#include "console.h"
#include "run_jobs.h"
#include "scene/Job.h"
#include "scene/SceneDocument.h"
#include "scene/sweep.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

/// Whether a scene can be read as often as wanted; pipes and standard input are read once.
bool isFile(const std::string& path) {
  struct stat status {};
  return path != "-" && (::stat(path.c_str(), &status) != 0 || !S_ISFIFO(status.st_mode));
}

/// The call's maps, not named yet.
std::vector<scene::Job> jobsOf(const PaintArguments& arguments) {
  std::vector<scene::Job> jobs;
  for (const std::string& path : arguments.scenes) {
    scene::Job& job = jobs.emplace_back();
    if (isFile(path)) {
      job.scene = path;
    } else {
      job.sceneText = scene::readSceneText(path);
      job.textName = scene::sceneName(path);
    }
    for (const std::string& text : arguments.settings) {
      const auto [place, value] = scene::splitSetting(text);
      job.set.push_back({place, scene::settingValue(value, place)});
    }
  }
  std::vector<scene::Sweep> sweeps;
  for (const std::string& text : arguments.sweeps) sweeps.push_back(scene::parseSweep(text));
  std::vector<double> frames;
  if (!arguments.frames.empty()) frames = scene::parseFrames(arguments.frames);
  return scene::multiply(jobs, sweeps, frames);
}

}  // namespace

ExitStatus paint(const PaintArguments& arguments) {
  if (std::count(arguments.scenes.begin(), arguments.scenes.end(), "-") > 1) {
    printMessage("-: standard input is given twice; it holds one scene");
    return callIsWrong;
  }
  std::vector<scene::Job> jobs = jobsOf(arguments);
  nameOutputs(jobs, arguments);
  return runJobs(std::move(jobs), arguments);
}

}  // namespace orvpaint
