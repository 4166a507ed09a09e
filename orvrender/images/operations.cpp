#include <cstdint>
#include <new>
#include <string>

#include "host/orvImage.h"
#include "host/orvLog.h"
#include "orvrender/Scene.h"

extern "C" {

orvImage* orv_image_load(orvScene* scene, const char* path, orvTexture_profile profile, bool cached,
                         const void*) {
  if (!scene) return nullptr;
  if (!path || !*path) {
    orv_critical("an image has no path; give one\n");
    scene->failures.add({}, "an image has no path; give one");
    return nullptr;
  }
  try {
    return scene->images.load(path, profile, cached);
  } catch (const std::bad_alloc&) {
    orv_critical("%s: there is no memory to read it; close other programs\n", path);
    scene->failures.add({}, "there is no memory to read an image; close other programs");
    return nullptr;
  }
}

void orv_image_free(orvScene* scene, orvImage* image, bool discard) {
  if (scene) scene->images.giveBack(image, discard);
}

void orv_image_free_mode(orvScene* scene, bool keep, bool discardAll) {
  if (scene) scene->images.setKeep(keep, discardAll);
}

bool orv_image_add(orvScene* scene, const char* name, const float* rgb, std::uint32_t width,
                   std::uint32_t height) {
  if (!scene) return false;
  try {
    return scene->images.add(name ? name : "", rgb, width, height);
  } catch (const std::bad_alloc&) {
    orv_critical("%s: there is no memory to copy it; close other programs\n", name);
    return false;
  }
}

bool orv_image_remove(orvScene* scene, const char* name) {
  return scene && name && scene->images.remove(name);
}

void orv_image_set_environment_size(orvScene* scene, std::uint32_t width, std::uint32_t height) {
  if (scene) scene->images.setEnvironmentSize({width, height});
}

}  // extern "C"
