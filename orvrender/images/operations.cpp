#include "host/orvImage.h"
#include "host/orvLog.h"

extern "C" {

orvImage* orv_image_load(orvScene*, const char* path, orvTexture_profile, bool, const void*) {
  orv_critical("%s: this build reads no images\n", path);
  return nullptr;
}

void orv_image_free(orvScene*, orvImage*, bool) {}

void orv_image_free_mode(orvScene*, bool, bool) {}

}  // extern "C"
