#include <new>

#include "backgrounds/BackgroundSource.h"
#include "brushes/BackgroundRotationFill.h"
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

  // On every paint, so that such fills see the background that is installed now.
  if (hasBackgroundFill_)
    for (const std::unique_ptr<Pin>& pin : pins_)
      if (pin->fill->kind() == BrushKind::background)
        static_cast<BackgroundRotationFill&>(*pin->fill).setBackground(background_.get());

  paintPins(*this, result.get());
  return result;
}

}  // namespace orv::hdri::blockedAVX2
