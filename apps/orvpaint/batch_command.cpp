#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "check_arguments.h"
#include "commands.h"
#include "console.h"
#include "run_jobs.h"
#include "scene/Job.h"
#include "scene/SceneDocument.h"
#include "scene/SceneErrors.h"
#include "scene/paint_job.h"
#include "scene/sweep.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

/// Reads job lines; empty ones separate nothing. @throws SceneErrors with what is wrong in any of them.
std::vector<scene::Job> readJobs(std::istream& in, const std::string& name, const BatchArguments& arguments) {
  constexpr std::size_t kMostErrors = 200;
  std::vector<scene::Job> jobs;
  std::vector<scene::Problem> errors;
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    const std::string where = name + ":" + std::to_string(number);
    try {
      jobs.push_back(scene::parseJob(line, where));
    } catch (const scene::SceneErrors& wrong) {
      errors.insert(errors.end(), wrong.problems().begin(), wrong.problems().end());
      if (errors.size() >= kMostErrors) break;
      continue;
    }
    const scene::Job& job = jobs.back();
    if (job.outputs.empty() && arguments.outputs.empty())
      errors.push_back({where, "output", "missing; give it in the line, or names for all with --output"});
    for (const std::string& output : job.outputs) {
      const std::string wrong = checkOutput(output, arguments.format);
      if (!wrong.empty()) errors.push_back({where, "output", wrong});
    }
    if (jobs.size() > scene::kMostMaps) {
      errors.push_back(
          {where,
           {},
           "more than " + std::to_string(scene::kMostMaps) + " jobs; split the file, or paint parts of it"});
      break;
    }
  }
  if (!errors.empty()) throw scene::SceneErrors(std::move(errors));
  return jobs;
}

}  // namespace

ExitStatus batch(const BatchArguments& arguments) {
  std::vector<scene::Job> jobs;
  if (arguments.jobs == "-") {
    jobs = readJobs(std::cin, scene::sceneName("-"), arguments);
  } else {
    std::ifstream file(arguments.jobs, std::ios::binary);
    // A folder opens and can not be read.
    if (!file || file.peek() == std::ifstream::traits_type::eof()) {
      const int reason = errno;
      if (!file.eof() || !file.is_open())
        throw scene::FileError(arguments.jobs + ": cannot be read: " + std::strerror(reason));
    }
    file.clear();
    jobs = readJobs(file, arguments.jobs, arguments);
  }
  if (jobs.empty()) return done;
  nameOutputs(jobs, arguments);
  for (const scene::Job& job : jobs) {
    if (arguments.usd.empty() || !scene::firstOfFloats(job.outputs, arguments.format).empty()) continue;
    printMessage("--usd: " + job.outputs.front() + " holds no floats for the light to show");
    return callIsWrong;
  }
  return runJobs(std::move(jobs), arguments);
}

}  // namespace orvpaint
