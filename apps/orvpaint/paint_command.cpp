#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "ProgressBar.h"
#include "ScenePainting.h"
#include "commands.h"
#include "console.h"
#include "scene/OutputFile.h"
#include "scene/ThreadLimit.h"
#include "scene/map_file.h"
#include "scene/reduce_map.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

/// Whether a file is a preview that is exposed automatically.
bool choosesExposure(const PaintArguments& arguments) {
  const auto isPreview = [](const std::string& path) { return scene::mapFormatOf(path)->preview; };
  return !arguments.exposureStops &&
         std::any_of(arguments.outputs.begin(), arguments.outputs.end(), isPreview);
}

/// What became of the values beyond a file's limit: how many, the largest, the light, and a remedy where
/// there is one.
std::string lossText(const scene::ClampLoss& loss, float limit, bool ofHalves) {
  char text[200];
  std::snprintf(
      text, sizeof text, "%lld %s above %.6g %s clamped (largest %.3g): %.3g %% of the light is lost%s",
      static_cast<long long>(loss.pixels), loss.pixels == 1 ? "pixel" : "pixels", static_cast<double>(limit),
      loss.pixels == 1 ? "was" : "were", static_cast<double>(loss.largest), 100 * loss.lightShare,
      ofHalves ? "; write floats without --half" : "");
  return text;
}

/// Writes all outputs, and puts them in place only when every one of them is whole.
void writeOutputs(const orv::hdri::EnvImage& map, std::vector<std::unique_ptr<scene::OutputFile>>& files,
                  const PaintArguments& arguments, ProgressBar& bar) {
  const float automatic = choosesExposure(arguments) ? scene::autoExposure(map) : 0.0f;
  std::vector<std::string> losses;
  for (const auto& file : files) {
    const scene::MapFormat& format = *scene::mapFormatOf(file->path());
    const std::string phase = "Writing " + std::filesystem::path(file->path()).filename().string();
    scene::MapFileOptions options;
    // With several outputs the compression goes to those that know it.
    if (format.knows(arguments.compression)) options.compression = arguments.compression;
    options.half = arguments.half;
    options.limit = arguments.limit;
    options.exposureStops = arguments.exposureStops.value_or(automatic);
    options.software = programVersion();
    options.progress = [&](float amount) { bar.show(phase, static_cast<double>(amount)); };
    const scene::ClampLoss loss = scene::writeMap(map, *file, format, options);
    if (loss.pixels == 0) continue;
    const float limit = *scene::limitOf(format, options);
    losses.push_back(file->path() + ": " + lossText(loss, limit, limit != arguments.limit));
  }
  // Pipes and devices first: they are the ones that can still fail.
  std::stable_partition(files.begin(), files.end(), [](const auto& file) { return file->inPlace(); });
  for (const auto& file : files) file->commit();
  for (const std::string& line : losses) printMessage(line);
}

}  // namespace

ExitStatus paint(const PaintArguments& arguments) {
  const scene::ThreadLimit threads(arguments.threads > 0 ? arguments.threads : scene::availableProcessors());
  const ScenePainting painting(arguments);
  std::vector<std::unique_ptr<scene::OutputFile>> files;
  for (const std::string& path : arguments.outputs)
    files.push_back(std::make_unique<scene::OutputFile>(path));

  ProgressBar bar(!arguments.quiet);
  const std::shared_ptr<orv::hdri::EnvImage> map = painting.paint(bar);
  if (!map) return fellBack;
  writeOutputs(*map, files, arguments, bar);
  return done;
}

}  // namespace orvpaint
