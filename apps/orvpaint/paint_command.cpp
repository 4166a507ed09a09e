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
#include "scene/layout.h"
#include "scene/map_file.h"
#include "scene/reduce_map.h"
#include "scene/usd_file.h"

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

/// Turns the map into the layout of the outputs.
void turn(orv::hdri::EnvImage& map, const PaintArguments& arguments) {
  const scene::Layout layout = arguments.layout;
  // OpenEXR's is always interpolated: its samples lie elsewhere.
  if (layout != scene::Layout::openexr && !scene::movesWholeColumns(layout, map.width) && !arguments.quiet)
    printMessage("--layout " + std::string(scene::nameOf(layout)) + ": the columns are interpolated, " +
                 "because the width " + std::to_string(map.width) + " is not a multiple of " +
                 (layout == scene::Layout::pbrt ? "2" : "4"));
  scene::toLayout(map, layout);
}

/// Writes all outputs, and puts them in place only when every one of them is whole.
void writeOutputs(const orv::hdri::EnvImage& map, std::vector<std::unique_ptr<scene::OutputFile>>& files,
                  std::unique_ptr<scene::OutputFile> dome, const PaintArguments& arguments,
                  ProgressBar& bar) {
  const float automatic = choosesExposure(arguments) ? scene::autoExposure(map) : 0.0f;
  std::vector<std::string> losses;
  for (const auto& file : files) {
    const scene::MapFormat& format = *scene::mapFormatOf(file->path());
    const std::string phase = "Writing " + std::filesystem::path(file->path()).filename().string();
    scene::MapFileOptions options;
    // With several outputs the compression goes to those that know it.
    if (format.knows(arguments.compression)) options.compression = arguments.compression;
    options.layout = arguments.layout;
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
  if (dome) {
    scene::writeDomeLight(*dome, firstOfFloats(arguments.outputs), arguments.layout);
    files.push_back(std::move(dome));
  }
  scene::commitAll(files);
  for (const std::string& line : losses) printMessage(line);
}

}  // namespace

std::string firstOfFloats(const std::vector<std::string>& outputs) {
  const auto found = std::find_if(outputs.begin(), outputs.end(),
                                  [](const std::string& path) { return !scene::mapFormatOf(path)->preview; });
  return found == outputs.end() ? std::string() : *found;
}

ExitStatus paint(const PaintArguments& arguments) {
  const scene::ThreadLimit threads(arguments.threads > 0 ? arguments.threads : scene::availableProcessors());
  const ScenePainting painting(arguments);
  std::vector<std::unique_ptr<scene::OutputFile>> files;
  for (const std::string& path : arguments.outputs)
    files.push_back(std::make_unique<scene::OutputFile>(path));

  std::unique_ptr<scene::OutputFile> dome;
  if (!arguments.usd.empty()) dome = std::make_unique<scene::OutputFile>(arguments.usd);

  ProgressBar bar(!arguments.quiet);
  const std::shared_ptr<orv::hdri::EnvImage> map = painting.paint(bar);
  if (!map) return fellBack;
  turn(*map, arguments);
  writeOutputs(*map, files, std::move(dome), arguments, bar);
  return done;
}

}  // namespace orvpaint
