#include "ScenePainting.h"

#include <filesystem>
#include <new>
#include <string>

#include "console.h"
#include "orvrender/orvHost.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

/// One paint needs nothing twice: what it is done with goes.
orvScene_options hostOptions(const SceneArguments& arguments) {
  orvScene_options options;
  options.maxImagePixels = arguments.maxImagePixels;
  options.imageCacheBytes = 0;
  options.keepBlocks = false;
  return options;
}

void showProgress(void* bar, const char* text, double amount) {
  static_cast<ProgressBar*>(bar)->show(text, amount);
}

}  // namespace

ScenePainting::ScenePainting(const SceneArguments& arguments)
    : arguments_(arguments),
      scene_(scene::readScene(arguments.scene)),
      library_(arguments.painter),
      host_(orv_scene_create(hostOptions(arguments))) {
  if (!host_) throw std::bad_alloc();
}

void ScenePainting::DestroyScene::operator()(orvScene* host) const { orv_scene_destroy(host); }

std::shared_ptr<orv::hdri::EnvImage> ScenePainting::paint(ProgressBar& bar) const {
  orv_progress_set_listener(host_.get(), &showProgress, &bar);
  scene::PaintOptions options;
  options.fileName = arguments_.scene;
  options.folder = std::filesystem::path(arguments_.scene).parent_path().string();
  options.size = arguments_.size;
  scene::PaintResult result;
  {
    // The painter goes before the host that it uses.
    const scene::PainterPointer painter = library_.create();
    result = scene::paintScene(scene_, *painter, host_.get(), options);
  }
  if (!arguments_.quiet || result.fellBack)
    for (const std::string& line : result.messages) printMessage(arguments_.scene + ": " + line);
  if (!result.fellBack || arguments_.allowFallback) return result.map;
  printMessage(
      arguments_.scene +
      ": a visible colour, or a worse picture, was painted in place of what is missing; no file is written "
      "(--allow-fallback writes it all the same)");
  return nullptr;
}

}  // namespace orvpaint
