#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "MapProgress.h"
#include "ProgressBar.h"
#include "commands.h"
#include "scene/paint_job.h"

namespace orvpaint {

/// Tells how far a run of maps has come, and what was written, on standard error. A run of one map names its
/// files; one of several their number, and each file only when asked to tell more. Phases may be heard from
/// any thread, one at a time.
class RunReport {
 public:
  RunReport(Talk talk, std::size_t maps);

  /// A map begins: the scene is read. @param title what it is called. @param files formats of its files.
  void begin(const std::string& title, std::vector<const orv::scene::MapFormat*> files);
  /// @param amount how much of the phase is done, 0 to 1.
  void phase(const std::string& phase, double amount);
  void written(const orv::scene::WrittenFile& file);
  /// The map is done or has failed; what was written of it is told.
  void end();
  /// All maps are done.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;

  void tellFiles(double seconds);
  void tellPhases();

  Talk talk_;
  std::size_t maps_;
  ProgressBar bar_;
  Clock::time_point start_ = Clock::now();
  std::size_t done_ = 0;
  std::size_t painted_ = 0;
  std::uint64_t bytes_ = 0;
  std::string firstFile_;
  std::string lastFile_;

  // Of the map that is painted.
  std::string title_;
  MapProgress progress_;
  Clock::time_point mapStart_;
  Clock::time_point phaseStart_;
  std::string phase_;
  std::vector<std::pair<std::string, double>> phases_;  ///< those that are over, and their seconds
  std::vector<orv::scene::WrittenFile> files_;
};

/// `4096x2048  48.2 MB  0.61 s` and the like.
std::string byteText(std::uint64_t bytes);
std::string secondsText(double seconds);

}  // namespace orvpaint
