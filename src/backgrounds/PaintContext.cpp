#include "backgrounds/PaintContext.h"

#include "host/orvLog.h"
#include "host/orvProgress.h"

namespace orv::hdri::blockedAVX2 {

void PaintContext::progressText(const char* text) const {
  if (scene) orv_progress_set(scene, text, 0.0f);
}

void PaintContext::progressStep(float amount) const {
  if (scene) orv_progress_add(scene, amount);
}

void PaintContext::progressFraction(float a, float b) const {
  if (scene) orv_progress_add(scene, a / b);
}

ImageHandle PaintContext::loadImage(const std::string& path) const {
  orvImage* image = orv_image_load(scene, path.c_str(), orvTexture_profile::environment, true, nullptr);
  if (!image) orv_critical("Failed to find image '%s' used environment painter\n", path.c_str());
  return ImageHandle(image, {scene});
}

}  // namespace orv::hdri::blockedAVX2
