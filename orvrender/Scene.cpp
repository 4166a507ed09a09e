#include "orvrender/Scene.h"

#include <new>
#include <numbers>

#include "hdri/version.h"
#include "host/orvPaint.h"
#include "orvrender/BigBlocks.h"

orvScene::orvScene(const orvScene_options& given)
    : options(given),
      images({given.maxImageSide, given.maxImagePixels}, given.maxEnvironmentPixels, given.imageCacheBytes,
             cancel, failures),
      sky(given.sky ? std::make_unique<orv::host::ReferenceSky>(&cancel) : nullptr) {
  if (given.keepBlocks) orv::host::BigBlocks::instance().addScene();
}

orvScene::~orvScene() {
  if (options.keepBlocks) orv::host::BigBlocks::instance().removeScene();
}

extern "C" {

const char* orv_version() { return ORVHDRI_VERSION_STRING; }

orvScene* orv_scene_create(const orvScene_options& options) {
  try {
    return new orvScene(options);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void orv_scene_destroy(orvScene* scene) { delete scene; }

orvSky* orv_get_sky(orvScene* scene) {
  if (!scene) return nullptr;
  if (!scene->sky) scene->failures.add({}, "the scene has no sky; make it with one");
  return scene->sky.get();
}

bool orv_cancelled(orvScene* scene) { return scene && scene->cancel.isAsked(); }

void orv_cancel_set_flag(orvScene* scene, const std::atomic<bool>* flag) {
  if (scene) scene->cancel.setFlag(flag);
}

bool orv_sky_sun(orvScene* scene, double* azimuth, double* elevation) {
  if (!scene || !scene->sky) return false;
  const orv::host::SunPlace sun = scene->sky->sun();
  *azimuth = sun.azimuth * (180 / std::numbers::pi);
  *elevation = sun.elevation * (180 / std::numbers::pi);
  return true;
}

}  // extern "C"
