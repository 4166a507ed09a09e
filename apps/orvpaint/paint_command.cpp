#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

#include "ProgressBar.h"
#include "commands.h"
#include "console.h"
#include "orvrender/orvHost.h"
#include "scene/OutputFile.h"
#include "scene/PainterLibrary.h"
#include "scene/ThreadLimit.h"
#include "scene/layout.h"
#include "scene/map_file.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"
#include "scene/usd_file.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

struct DestroyScene {
  void operator()(orvScene* host) const { orv_scene_destroy(host); }
};

void showProgress(void* bar, const char* text, double amount) {
  static_cast<ProgressBar*>(bar)->show(text, amount);
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
  for (const auto& file : files) {
    const scene::MapFormat& format = *scene::mapFormatOf(file->path());
    const std::string phase = "Writing " + std::filesystem::path(file->path()).filename().string();
    scene::MapFileOptions options;
    // With several outputs the compression goes to those that know it.
    if (format.knows(arguments.compression)) options.compression = arguments.compression;
    options.exposureStops = arguments.exposureStops;
    options.layout = arguments.layout;
    options.software = programVersion();
    options.progress = [&](float amount) { bar.show(phase, static_cast<double>(amount)); };
    scene::writeMap(map, *file, format, options);
  }
  if (dome) {
    scene::writeDomeLight(*dome, firstOfFloats(arguments.outputs), arguments.layout);
    files.push_back(std::move(dome));
  }
  // Pipes and devices first: they are the ones that can still fail.
  std::stable_partition(files.begin(), files.end(), [](const auto& file) { return file->inPlace(); });
  for (const auto& file : files) file->commit();
}

}  // namespace

std::string firstOfFloats(const std::vector<std::string>& outputs) {
  const auto found = std::find_if(outputs.begin(), outputs.end(),
                                  [](const std::string& path) { return !scene::mapFormatOf(path)->preview; });
  return found == outputs.end() ? std::string() : *found;
}

ExitStatus paint(const PaintArguments& arguments) {
  const scene::Scene read = scene::readScene(arguments.scene);
  const scene::ThreadLimit threads(arguments.threads > 0 ? arguments.threads : scene::availableProcessors());
  const scene::PainterLibrary library(arguments.painter);
  std::vector<std::unique_ptr<scene::OutputFile>> files;
  for (const std::string& path : arguments.outputs)
    files.push_back(std::make_unique<scene::OutputFile>(path));

  std::unique_ptr<scene::OutputFile> dome;
  if (!arguments.usd.empty()) dome = std::make_unique<scene::OutputFile>(arguments.usd);

  ProgressBar bar(!arguments.quiet);
  const std::unique_ptr<orvScene, DestroyScene> host(orv_scene_create({}));
  if (!host) throw std::bad_alloc();
  orv_progress_set_listener(host.get(), &showProgress, &bar);

  scene::PaintOptions options;
  options.fileName = arguments.scene;
  options.folder = std::filesystem::path(arguments.scene).parent_path().string();
  options.size = arguments.size;
  scene::PaintResult result;
  {
    // The painter goes before the host that it uses.
    const scene::PainterPointer painter = library.create();
    result = scene::paintScene(read, *painter, host.get(), options);
  }
  if (!arguments.quiet || result.fellBack)
    for (const std::string& line : result.messages) printMessage(arguments.scene + ": " + line);
  if (result.fellBack && !arguments.allowFallback) {
    printMessage(arguments.scene +
                 ": a visible colour was painted in place of what is missing; no file is written "
                 "(--allow-fallback writes it all the same)");
    return fellBack;
  }
  turn(*result.map, arguments);
  writeOutputs(*result.map, files, std::move(dome), arguments, bar);
  return done;
}

}  // namespace orvpaint
