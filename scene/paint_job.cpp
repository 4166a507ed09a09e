#include "scene/paint_job.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "maps/row_loop.h"
#include "scene/OutputFile.h"
#include "scene/layout.h"
#include "scene/map_file.h"
#include "scene/missing_images.h"
#include "scene/reduce_map.h"
#include "scene/usd_file.h"

namespace orv::scene {
namespace {

/// Files that are written, and put in place together.
class Outputs {
 public:
  Outputs(const Job& job, const JobOptions& options) : job_(job), options_(options) {
    for (const std::string& path : job.outputs) files_.push_back(std::make_unique<OutputFile>(path));
    if (!options.usd.empty()) dome_ = std::make_unique<OutputFile>(options.usd);
  }

  void write(const hdri::EnvImage& map) {
    const float automatic = choosesExposure() ? autoExposure(map) : 0.0f;
    for (const auto& file : files_) writeOne(map, *file, options_.exposureStops.value_or(automatic));
    if (dome_) {
      writeDomeLight(*dome_, firstOfFloats(job_.outputs, options_.format), options_.layout);
      files_.push_back(std::move(dome_));
    }
    commitAll(files_);
    tellWritten({map.width, map.height});
    for (const std::string& line : losses_) options_.tell(line, true);
  }

 private:
  /// Whether a file is a preview that is exposed automatically.
  bool choosesExposure() const {
    const auto isPreview = [this](const std::string& path) {
      return mapFormatOf(path, options_.format)->preview;
    };
    return !options_.exposureStops && std::any_of(job_.outputs.begin(), job_.outputs.end(), isPreview);
  }

  void tellWritten(const MapSize& size) const {
    if (!options_.written) return;
    for (const auto& file : files_) {
      const bool holdsMap = mapFormatOf(file->path(), options_.format) && file->path() != options_.usd;
      options_.written({file->name(), holdsMap ? size : MapSize{0, 0}, file->size()});
    }
  }

  void writeOne(const hdri::EnvImage& map, OutputFile& file, float exposureStops) {
    const MapFormat& format = *mapFormatOf(file.path(), options_.format);
    const std::string phase = "Writing " + std::filesystem::path(file.name()).filename().string();
    MapFileOptions options;
    // With several outputs the compression goes to those that know it.
    if (format.knows(options_.compression)) options.compression = options_.compression;
    options.layout = options_.layout;
    options.half = options_.half;
    options.limit = options_.limit;
    options.exposureStops = exposureStops;
    options.software = options_.software;
    if (options_.progress) options_.progress(phase.c_str(), 0);
    if (options_.progress)
      options.progress = [&](float amount) { options_.progress(phase.c_str(), static_cast<double>(amount)); };
    const ClampLoss loss = writeMap(map, file, format, options);
    if (loss.pixels == 0 || !options_.tell) return;
    const float limit = *limitOf(format, options);
    losses_.push_back(file.name() + ": " + lossText(loss, limit, limit != options.limit));
  }

  /// What became of the values beyond a file's limit: how many, the largest, the light, and a remedy where
  /// there is one.
  static std::string lossText(const ClampLoss& loss, float limit, bool ofHalves) {
    char text[200];
    std::snprintf(
        text, sizeof text, "%lld %s above %.6g %s clamped (largest %.3g): %.3g %% of the light is lost%s",
        static_cast<long long>(loss.pixels), loss.pixels == 1 ? "pixel" : "pixels",
        static_cast<double>(limit), loss.pixels == 1 ? "was" : "were", static_cast<double>(loss.largest),
        100 * loss.lightShare, ofHalves ? "; write floats without --half" : "");
    return text;
  }

  const Job& job_;
  const JobOptions& options_;
  std::vector<std::unique_ptr<OutputFile>> files_;
  std::unique_ptr<OutputFile> dome_;
  std::vector<std::string> losses_;
};

/// Turns the map into the layout of the outputs.
void turn(hdri::EnvImage& map, const JobOptions& options) {
  const Layout layout = options.layout;
  // OpenEXR's is always interpolated: its samples lie elsewhere.
  if (layout != Layout::openexr && !movesWholeColumns(layout, map.width) && options.tell)
    options.tell("--layout " + std::string(nameOf(layout)) + ": the columns are interpolated, " +
                     "because the width " + std::to_string(map.width) + " is not a multiple of " +
                     (layout == Layout::pbrt ? "2" : "4"),
                 false);
  toLayout(map, layout);
}

PaintOptions paintOptions(const Job& job, const JobOptions& options) {
  PaintOptions result;
  result.fileName = job.scene.empty() ? job.textName : job.scene;
  result.folder = std::filesystem::path(job.scene).parent_path().string();
  result.size = job.size;
  result.progress = options.progress;
  result.cancel = options.cancel;
  return result;
}

bool isSet(const void* flag) { return static_cast<const std::atomic<bool>*>(flag)->load(); }

MapLight paintAndWrite(Session& session, const Scene& scene, const Job& job, const JobOptions& options,
                       Outputs& outputs) {
  const std::shared_ptr<hdri::EnvImage> map =
      paintShown(session, scene, paintOptions(job, options), options.allowFallback, options.tell);
  if (options.last) session.forgetBackground();
  const MapLight light = options.measure ? lightOf(*map) : MapLight{};
  turn(*map, options);
  outputs.write(*map);
  return light;
}

}  // namespace

std::string firstOfFloats(const std::vector<std::string>& outputs, const MapFormat* otherwise) {
  const auto found = std::find_if(outputs.begin(), outputs.end(), [otherwise](const std::string& path) {
    return !mapFormatOf(path, otherwise)->preview;
  });
  return found == outputs.end() ? std::string() : *found;
}

std::shared_ptr<hdri::EnvImage> paintShown(Session& session, const Scene& scene, const PaintOptions& options,
                                           bool allowFallback, const Tell& tell) {
  if (tell)
    for (const Problem& missing : missingImages(scene, options.fileName, options.folder))
      tell(missing.finding(), !allowFallback);
  PaintResult painted = session.paint(scene, options);
  if (tell)
    for (const std::string& line : painted.messages) tell(options.fileName + ": " + line, painted.fellBack);
  if (painted.fellBack && !allowFallback)
    throw FallbackError(
        options.fileName +
        ": a visible colour, or a worse picture, was painted in place of what is missing; no file is written "
        "(--allow-fallback writes it all the same)");
  return std::move(painted.map);
}

void writeOutputs(const hdri::EnvImage& map, const Job& job, const JobOptions& options) {
  Outputs outputs(job, options);
  if (options.layout == Layout::native) return outputs.write(map);
  hdri::EnvImage turned = map;
  turn(turned, options);
  outputs.write(turned);
}

MapLight paintJob(Session& session, const Scene& scene, const Job& job, const JobOptions& options) {
  Outputs outputs(job, options);
  const StopCheck check(options.cancel ? &isSet : nullptr, options.cancel);
  try {
    return paintAndWrite(session, scene, job, options, outputs);
  } catch (const LoopStopped&) {
    throw PaintCancelled(paintOptions(job, options).fileName + ": the paint was cancelled");
  }
}

}  // namespace orv::scene
