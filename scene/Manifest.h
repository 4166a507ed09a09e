#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "scene/Job.h"
#include "scene/map_info.h"

namespace orv::scene {

/// What became of a job.
struct JobOutcome {
  enum class Status { painted, skipped, failed };

  Status status = Status::failed;
  std::string error = {};              ///< lines of a failure; else empty
  double seconds = 0;                  ///< of painting and writing
  std::optional<MapLight> light = {};  ///< where the map is known
};

/// A file of JSON lines, one for each job that is done, in the order in which they are done:
/// `{"job": ..., "status": "painted", "seconds": ..., "mean": [r, g, b], "peak": ...}`, a failure with
/// `error`. Each line is written whole as soon as its job is done; what a run that was killed left is taken
/// up again. One thread, and one process at a time.
class Manifest {
 public:
  /// Makes the file at `path` (UTF-8) anew; or takes up the one that is there, but for the lines of the jobs
  /// that are painted anew, and for what is no whole line.
  /// A descriptor that the path names (outputDescriptor) gets the lines and is never taken up.
  /// @param paintedAnew jobs; they are told from others by their outputs. @throws FileError.
  Manifest(const std::string& path, bool takeUp, const std::vector<Job>& paintedAnew);
  ~Manifest();
  Manifest(const Manifest&) = delete;
  Manifest& operator=(const Manifest&) = delete;

  /// Whether a line of this job was taken up.
  bool has(const Job& job) const;

  /// Writes a job's line. @throws FileError.
  void add(const Job& job, const JobOutcome& outcome);

 private:
  std::string path_;
  int descriptor_ = -1;
  std::unordered_set<std::string> kept_;  // outputs of the lines that were taken up
};

/// The line of a job, without its newline.
std::string manifestLine(const Job& job, const JobOutcome& outcome);

}  // namespace orv::scene
