#include <new>

#include "backgrounds/BackgroundSource.h"
#include "painter/BlockedPainter.h"
#include "painter/PixelMemory.h"
#include "pins/pin_pass.h"

namespace orv::hdri::blockedAVX2 {

std::shared_ptr<EnvImage> BlockedPainter::paint() {
  if (!background_) return {};

  std::shared_ptr<EnvImage> result;
  if (width_ != 0 && height_ != 0)
    result = std::make_shared<EnvImage>(width_, height_, &PixelMemory::instance());

  if (!backgroundValid_ || !keepBackground_) {
    if (!prepareBackground()) throw std::bad_alloc();
    backgroundValid_ = true;
  }

  paintPins(*this, result.get());
  return result;
}

}  // namespace orv::hdri::blockedAVX2
