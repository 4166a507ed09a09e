#include "orvrender/Scene.h"

#include <new>
#include <numbers>

#include "orvrender/BigBlocks.h"

orvScene::orvScene(const orvScene_options& given)
    : options(given),
      images({given.maxImageSide, given.maxImagePixels}, given.maxEnvironmentPixels, given.imageCacheBytes),
      sky(given.sky ? std::make_unique<orv::host::ReferenceSky>() : nullptr) {
  if (given.keepBlocks) orv::host::BigBlocks::instance().addScene();
}

orvScene::~orvScene() {
  if (options.keepBlocks) orv::host::BigBlocks::instance().removeScene();
}

extern "C" {

orvScene* orv_scene_create(const orvScene_options& options) {
  try {
    return new orvScene(options);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void orv_scene_destroy(orvScene* scene) { delete scene; }

orvSky* orv_get_sky(orvScene* scene) { return scene ? scene->sky.get() : nullptr; }

bool orv_sky_sun(orvScene* scene, double* azimuth, double* elevation) {
  if (!scene || !scene->sky) return false;
  const orv::host::SunPlace sun = scene->sky->sun();
  *azimuth = sun.azimuth * (180 / std::numbers::pi);
  *elevation = sun.elevation * (180 / std::numbers::pi);
  return true;
}

}  // extern "C"
