#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "scene/Job.h"
#include "scene/Session.h"
#include "scene/map_file.h"
#include "scene/map_info.h"

namespace orv::scene {

/// Something missing was painted as a visible colour, and no file was written; `what()` is one line.
struct FallbackError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Hears of what is to be known of a map, line by line; important is what a fallback shows and what light is
/// lost. May be empty.
using Tell = std::function<void(const std::string& line, bool important)>;

/// Tells which pictures are missing, paints a scene and tells what the host says.
/// @return the map, never null. @throws FallbackError unless that is allowed; FileError, PaintError.
std::shared_ptr<hdri::EnvImage> paintShown(Session& session, const Scene& scene, const PaintOptions& options,
                                           bool allowFallback, const Tell& tell);

/// A file that was put in place.
struct WrittenFile {
  std::string name;         ///< as messages call it
  MapSize size;             ///< of its map; nothing of a file that holds none
  std::uint64_t bytes = 0;  ///< of the file
};

/// How jobs are painted and their files written.
struct JobOptions {
  std::optional<float> exposureStops = 0.0f;  ///< of previews; none: chosen automatically
  std::string compression = {};               ///< for the outputs whose formats know it; empty: ZIP
  bool half = false;
  std::optional<float> limit = {};
  const MapFormat* format = nullptr;  ///< of outputs whose endings name none; null: there are no such
  Layout layout = Layout::native;     ///< of every output
  std::string usd = {};               ///< where a dome light is written that shows the first output of floats
  std::string software = {};          ///< name and version of the program, for the files' headers
  bool allowFallback = false;         ///< write maps where something missing is painted as a visible colour
  bool measure = false;               ///< whether the light of the map is wanted
  bool last = false;  ///< no other job follows: the background is not kept while files are written

  /// Hears of the phase of the work and the amount done in it, 0 to 1; as in PaintOptions. May be empty.
  std::function<void(const char* phase, double amount)> progress = {};
  Tell tell = {};
  /// Cancels the job, its files' writing too; as in PaintOptions. Null: it can not be cancelled.
  const std::atomic<bool>* cancel = nullptr;
  /// Hears of each file when all are in place. May be empty.
  std::function<void(const WrittenFile& file)> written = {};
};

/// Paints a job and writes its outputs, each as its ending or the options' format says. None is put in place
/// before all are whole.
/// @param scene the job's, as JobScenes reads it. @return the map's light where it was asked for.
/// @throws FileError, PaintError, FallbackError, PaintCancelled; no output is there then that was not there
/// before, but for a
///         failure of the system amid putting them in place.
MapLight paintJob(Session& session, const Scene& scene, const Job& job, const JobOptions& options);

/// Writes a map of ours into a job's outputs, as `paintJob` writes what it has painted.
/// @throws FileError; std::bad_alloc.
void writeOutputs(const hdri::EnvImage& map, const Job& job, const JobOptions& options);

/// The first of some outputs that is not a preview; empty when there is none.
/// @param otherwise the format of those whose ending names none.
std::string firstOfFloats(const std::vector<std::string>& outputs, const MapFormat* otherwise = nullptr);

}  // namespace orv::scene
