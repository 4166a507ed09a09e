#include "painter/BlockedPainter.h"

#include <algorithm>

#include "backgrounds/BackgroundSource.h"
#include "maps/PixelMemory.h"

namespace orv::hdri::blockedAVX2 {

BlockedPainter::BlockedPainter(PainterType type) : type_(type) { PixelMemory::instance().attach(); }

BlockedPainter::~BlockedPainter() {
  pins_.clear();
  PixelMemory::instance().detach();
}

void BlockedPainter::setSize(std::int32_t width, std::int32_t height) {
  // The arguments are compared as given: asking for a negative size while 0 is stored still clears the flag.
  if (width != context_.width || height != context_.height) backgroundValid_ = false;
  context_.width = std::max(width, 0);
  context_.height = std::max(height, 0);
}

void BlockedPainter::setOptions(const PainterOptions& options) {
  context_.smoothing = options.smoothing != 0;
  keepBackground_ = options.keepBackground != 0;
}

void BlockedPainter::clear() {
  context_.hasBackgroundFill = false;
  pins_.clear();
  if (keepBackground_) return;
  background_.reset();
  backgroundValid_ = false;
}

}  // namespace orv::hdri::blockedAVX2
