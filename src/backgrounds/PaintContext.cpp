#include "backgrounds/PaintContext.h"

#include "backgrounds/optional_operations.h"
#include "host/orvLog.h"
#include "host/orvProgress.h"
#include "maps/StopCheck.h"

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

void PaintContext::tellFallback(std::int32_t pin) const {
  if (optionalOperations().fallback) optionalOperations().fallback(scene, pin);
}

ImageHandle PaintContext::loadImage(const std::string& path) const {
  orvImage* image = orv_image_load(scene, path.c_str(), orvTexture_profile::environment, true, nullptr);
  if (!image) {
    // A host that was told to stop gives no image, which is no failure.
    StopCheck::ask();
    orv_critical("Failed to find image '%s' used environment painter\n", path.c_str());
  }
  return ImageHandle(image, {scene});
}

}  // namespace orv::hdri::blockedAVX2
