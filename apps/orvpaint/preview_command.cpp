#include <filesystem>
#include <memory>

#include "RunReport.h"
#include "check_arguments.h"
#include "commands.h"
#include "console.h"
#include "scene/HostPicture.h"
#include "scene/OutputFile.h"
#include "scene/SceneDocument.h"
#include "scene/Session.h"
#include "scene/ThreadLimit.h"
#include "scene/map_file.h"
#include "scene/paint_job.h"
#include "scene/preview_sheet.h"
#include "scene/read_scene.h"
#include "scene/reduce_map.h"
#include "scene/tone_map.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

void writeSheet(const orv::hdri::EnvImage& map, const PreviewArguments& arguments, scene::OutputFile& file,
                RunReport& report) {
  report.phase("Writing " + std::filesystem::path(file.name()).filename().string(), 0);
  scene::SheetOptions options;
  options.name = std::filesystem::path(scene::sceneName(arguments.scene)).filename().string();
  options.automatic = !arguments.exposureStops;
  options.exposureStops = options.automatic ? scene::autoExposure(map) : *arguments.exposureStops;
  options.cameraAzimuth = static_cast<double>(arguments.cameraAzimuth);
  const orv::hdri::EnvImage sheet = scene::previewSheet(map, options);

  scene::MapFileOptions fileOptions;
  fileOptions.software = programVersion();
  scene::writePreview(scene::encodePicture(sheet), sheet.width, sheet.height, file,
                      *scene::mapFormatOf(file.path(), arguments.format), fileOptions);
  file.commit();
  report.written({file.name(), {sheet.width, sheet.height}, file.size()});
  report.end();
}

}  // namespace

ExitStatus preview(const PreviewArguments& arguments) {
  refuseTerminal(arguments.output);
  RunReport report(arguments.talk(), 1);
  report.begin(scene::sceneName(arguments.scene), {scene::mapFormatOf(arguments.output, arguments.format)});
  const scene::ThreadLimit threads(arguments.threads > 0 ? arguments.threads : scene::availableProcessors());
  if (!scene::looksLikeScene(arguments.scene)) {
    if (arguments.size) {
      printMessage("--size: " + arguments.scene + " is a map and has its size already; allowed: a scene");
      return callIsWrong;
    }
    const orv::hdri::EnvImage map = scene::readMap(arguments.scene, arguments.maxImagePixels);
    scene::OutputFile file(arguments.output);
    writeSheet(map, arguments, file, report);
    return done;
  }
  const scene::Scene read = scene::readScene(arguments.scene);
  orvScene_options host = scene::forOnePaint();
  host.maxImagePixels = arguments.maxImagePixels;
  scene::Session session(arguments.painter, host);
  scene::OutputFile file(arguments.output);
  report.phase("Background", 0);
  scene::PaintOptions options;
  options.fileName = scene::sceneName(arguments.scene);
  options.folder = std::filesystem::path(arguments.scene).parent_path().string();
  options.size = arguments.size;
  options.progress = [&report](const char* phase, double amount) { report.phase(phase, amount); };
  const std::shared_ptr<orv::hdri::EnvImage> map =
      scene::paintShown(session, read, options, arguments.allowFallback, tellUnless(arguments.quiet));
  session.forgetBackground();
  writeSheet(*map, arguments, file, report);
  return done;
}

}  // namespace orvpaint
