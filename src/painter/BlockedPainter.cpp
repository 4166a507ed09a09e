#include "painter/BlockedPainter.h"

#include <algorithm>

#include "backgrounds/BackgroundSource.h"
#include "host/orvImage.h"
#include "host/orvLog.h"
#include "host/orvProgress.h"
#include "painter/PixelMemory.h"

namespace orv::hdri::blockedAVX2 {

void ImageRelease::operator()(orvImage* image) const { painter->freeImage(image); }

BlockedPainter::BlockedPainter(PainterType type) : type_(type) { PixelMemory::instance().attach(); }

BlockedPainter::~BlockedPainter() {
  pins_.clear();
  PixelMemory::instance().detach();
}

void BlockedPainter::setSize(std::int32_t width, std::int32_t height) {
  // The arguments are compared as given: asking for a negative size while 0 is stored still clears the flag.
  if (width != width_ || height != height_) backgroundValid_ = false;
  width_ = std::max(width, 0);
  height_ = std::max(height, 0);
}

void BlockedPainter::setOptions(const PainterOptions& options) {
  smoothing_ = options.smoothing != 0;
  keepBackground_ = options.keepBackground != 0;
}

void BlockedPainter::clear() {
  hasBackgroundFill_ = false;
  pins_.clear();
  if (keepBackground_) return;
  background_.reset();
  backgroundValid_ = false;
}

void BlockedPainter::progressText(const char* text) const {
  if (scene_) orv_progress_set(scene_, text, 0.0f);
}

void BlockedPainter::progressStep(float amount) const {
  if (scene_) orv_progress_add(scene_, amount);
}

void BlockedPainter::progressFraction(float a, float b) const {
  if (scene_) orv_progress_add(scene_, a / b);
}

HostImage BlockedPainter::loadImage(const std::string& path) const {
  orvImage* image = orv_image_load(scene_, path.c_str(), orvTexture_profile::environment, true, nullptr);
  if (!image) orv_critical("Failed to find image '%s' used environment painter\n", path.c_str());
  return HostImage(image, ImageRelease{this});
}

void BlockedPainter::freeImage(orvImage* image) const {
  orv_image_free_mode(scene_, true, false);
  orv_image_free(scene_, image, false);
  orv_image_free_mode(scene_, false, false);
}

}  // namespace orv::hdri::blockedAVX2
