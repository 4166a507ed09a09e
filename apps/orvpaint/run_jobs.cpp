#include "run_jobs.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "RunReport.h"
#include "check_arguments.h"
#include "console.h"
#include "scene/Manifest.h"
#include "scene/OutputFile.h"
#include "scene/Session.h"
#include "scene/ThreadLimit.h"
#include "scene/map_file.h"
#include "scene/output_names.h"
#include "scene/paint_job.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;
using Status = scene::JobOutcome::Status;

/// A job, its number among all of the call, and where its dome light goes.
struct Numbered {
  scene::Job job;
  std::size_t index = 0;
  std::string usd = {};  ///< empty: nowhere
};

bool isThere(const std::string& path) {
  std::error_code error;
  return scene::outputDescriptor(path) < 0 && std::filesystem::is_regular_file(path, error);
}

bool isThere(const Numbered& each) {
  return std::all_of(each.job.outputs.begin(), each.job.outputs.end(),
                     [](const std::string& path) { return isThere(path); }) &&
         (each.usd.empty() || isThere(each.usd));
}

/// The light of a map that is there; none when it can not be read, or is a preview.
std::optional<scene::MapLight> lightOfFile(const scene::Job& job, const MapArguments& arguments) {
  const std::string path = scene::firstOfFloats(job.outputs, arguments.format);
  if (path.empty()) return std::nullopt;
  try {
    return scene::readMapInfo(path, arguments.layout);
  } catch (const scene::FileError&) {
    return std::nullopt;
  }
}

/// Paints jobs one after another and keeps count.
class JobRun {
 public:
  JobRun(const MapArguments& arguments, std::size_t count, bool single)
      : arguments_(arguments), count_(count), single_(single), report_(arguments.talk(), count) {
    options_.exposureStops = arguments.exposureStops;
    options_.compression = arguments.compression;
    options_.half = arguments.half;
    options_.limit = arguments.limit;
    options_.format = arguments.format;
    options_.layout = arguments.layout;
    options_.software = programVersion();
    options_.allowFallback = arguments.allowFallback;
    options_.measure = !arguments.manifest.empty();
    options_.progress = [this](const char* phase, double amount) { report_.phase(phase, amount); };
    options_.written = [this](const scene::WrittenFile& file) { report_.written(file); };
    options_.tell = tellUnless(arguments.quiet);
  }

  scene::JobOutcome paint(const Numbered& each) {
    const scene::Job& job = each.job;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    scene::JobOutcome outcome;
    report_.begin(scene::jobTitle(job), formatsOf(job));
    try {
      const scene::Scene read = scenes_.read(job);
      if (!session_) session_ = std::make_unique<scene::Session>(arguments_.painter, hostOptions());
      report_.phase("Background", 0);
      options_.usd = each.usd;
      options_.last = done_ + 1 == count_;
      const scene::MapLight light = scene::paintJob(*session_, read, job, options_);
      outcome.status = Status::painted;
      if (options_.measure) outcome.light = light;
    } catch (const scene::PainterError&) {
      throw;
    } catch (const scene::SceneErrors& errors) {
      outcome.error = errors.what();
      failScene(job, errors);
    } catch (const scene::FallbackError& error) {
      outcome.error = error.what();
      fail(job, error.what(), fellBack);
    } catch (const std::bad_alloc&) {
      outcome.error = "not enough memory";
      fail(job, outcome.error, fileFailed);
    } catch (const std::runtime_error& error) {
      outcome.error = error.what();
      fail(job, error.what(), fileFailed);
    }
    ++done_;
    report_.end();
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return outcome;
  }

  /// Tells what came of all. @return the greatest status.
  ExitStatus finish() {
    report_.finish();
    if (!single_ && failed_ > 0)
      printMessage(std::to_string(failed_) + " of " + std::to_string(count_) +
                   (count_ == 1 ? " map is not painted" : " maps are not painted"));
    return status_;
  }

 private:
  orvScene_options hostOptions() const {
    orvScene_options options = count_ == 1 ? scene::forOnePaint() : orvScene_options{};
    options.maxImagePixels = arguments_.maxImagePixels;
    return options;
  }

  std::vector<const scene::MapFormat*> formatsOf(const scene::Job& job) const {
    std::vector<const scene::MapFormat*> formats;
    for (const std::string& path : job.outputs)
      formats.push_back(scene::mapFormatOf(path, arguments_.format));
    return formats;
  }

  void fail(const scene::Job& job, const std::string& reason, ExitStatus status) {
    printMessage(single_ ? reason : job.outputs.front() + ": not painted: " + reason);
    ++failed_;
    status_ = std::max(status_, status);
  }

  void failScene(const scene::Job& job, const scene::SceneErrors& errors) {
    const bool again = errors.what() == lastErrors_;
    if (!again)
      for (const std::string& line : errors.lines()) printLine(line);
    lastErrors_ = errors.what();
    if (!single_)
      printMessage(job.outputs.front() + ": not painted: its scene has " +
                   (again ? "the same errors" : "errors"));
    ++failed_;
    status_ = std::max(status_, callIsWrong);
  }

  const MapArguments& arguments_;
  std::size_t count_;
  bool single_;  // one map: messages speak of it alone
  RunReport report_;
  scene::JobOptions options_;
  scene::JobScenes scenes_;
  std::unique_ptr<scene::Session> session_;
  std::size_t done_ = 0;
  std::size_t failed_ = 0;
  std::string lastErrors_;
  ExitStatus status_ = orvpaint::done;
};

/// The part of the jobs that the call paints, in one piece, so that jobs of one background stay together.
std::vector<Numbered> partOf(std::vector<scene::Job> jobs, const MapArguments& arguments) {
  const Shard& shard = arguments.shard;
  scene::JobScenes scenes;
  const std::size_t begin = jobs.size() * (shard.number - 1) / shard.count;
  const std::size_t end = jobs.size() * shard.number / shard.count;
  std::vector<Numbered> part;
  for (std::size_t i = begin; i < end; ++i) {
    part.push_back({std::move(jobs[i]), i});
    if (!arguments.usd.empty())
      part.back().usd = scene::expandName(arguments.usd, part.back().job, i, scenes);
  }
  return part;
}

void checkNames(const std::vector<scene::Job>& jobs, const MapArguments& arguments) {
  if (arguments.usd.empty()) return scene::checkOutputs(jobs);
  std::vector<scene::Job> named = jobs;
  scene::JobScenes scenes;
  for (std::size_t i = 0; i < named.size(); ++i)
    named[i].outputs.push_back(scene::expandName(arguments.usd, named[i], i, scenes));
  scene::checkOutputs(named);
}

}  // namespace

void nameOutputs(std::vector<scene::Job>& jobs, const MapArguments& arguments) {
  scene::JobScenes scenes;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    scene::Job& job = jobs[i];
    if (!job.size) job.size = arguments.size;
    if (!job.outputs.empty()) continue;
    for (const std::string& name : arguments.outputs)
      job.outputs.push_back(scene::expandName(name, job, i, scenes));
  }
}

ExitStatus runJobs(std::vector<scene::Job> jobs, const MapArguments& arguments) {
  const bool single = jobs.size() == 1;
  checkNames(jobs, arguments);
  std::vector<Numbered> wanted = partOf(std::move(jobs), arguments);
  std::vector<Numbered> skipped;
  if (arguments.skipExisting) {
    const auto rest = std::stable_partition(wanted.begin(), wanted.end(),
                                            [](const Numbered& each) { return isThere(each); });
    skipped.assign(std::make_move_iterator(wanted.begin()), std::make_move_iterator(rest));
    wanted.erase(wanted.begin(), rest);
  }
  if (arguments.dryRun) {
    std::string lines;
    for (const Numbered& each : wanted) lines += scene::jobText(each.job) + "\n";
    printResult(lines);
    return done;
  }
  for (const Numbered& each : wanted)
    for (const std::string& path : each.job.outputs) refuseTerminal(path);
  const scene::ThreadLimit threads(arguments.threads > 0 ? arguments.threads : scene::availableProcessors());
  std::unique_ptr<scene::Manifest> manifest;
  if (!arguments.manifest.empty()) {
    std::vector<scene::Job> anew;
    anew.reserve(wanted.size());
    for (const Numbered& each : wanted) anew.push_back(each.job);
    manifest = std::make_unique<scene::Manifest>(arguments.manifest, arguments.skipExisting, anew);
    for (const Numbered& each : skipped)
      if (!manifest->has(each.job))
        manifest->add(each.job, {.status = Status::skipped, .light = lightOfFile(each.job, arguments)});
  }
  JobRun run(arguments, wanted.size(), single);
  for (const Numbered& each : wanted) {
    const scene::JobOutcome outcome = run.paint(each);
    if (manifest) manifest->add(each.job, outcome);
  }
  return run.finish();
}

}  // namespace orvpaint
