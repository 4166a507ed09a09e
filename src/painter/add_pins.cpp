// How pins come into the painter's list.

#include <new>
#include <stdexcept>
#include <utility>

#include "backgrounds/BackgroundSource.h"
#include "brushes/PinFill.h"
#include "painter/BlockedPainter.h"
#include "pins/fill_factory.h"
#include "shapes/CirclePinShape.h"
#include "shapes/RectPinShape.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

float BlockedPainter::pixelAngle() const {
  const float a = pinSizeScale_ * kTwoPi / static_cast<float>(width_);
  const float b = pinSizeScale_ * kPi / static_cast<float>(height_);
  // The second when they are equal or one is no number.
  return a > b ? a : b;
}

bool BlockedPainter::addRectPin(const RectPinParams& params, const Brush& fill) {
  std::unique_ptr<PinShape> shape(new (std::nothrow) RectPinShape(params, pixelAngle()));
  return addPin(std::move(shape), fill, true);
}

bool BlockedPainter::addCirclePin(const CirclePinParams& params, const Brush& fill) {
  std::unique_ptr<PinShape> shape(new (std::nothrow) CirclePinShape(params, pixelAngle()));
  return addPin(std::move(shape), fill, false);
}

bool BlockedPainter::addPin(std::unique_ptr<PinShape> shape, const Brush& brush, bool rectangular) {
  if (!shape) return false;
  if (pins_.size() == pins_.max_size()) throw std::length_error("list too long");
  try {
    // The node first: a pin that is refused must leave nothing behind, the note of its fill included.
    PinList added(1);
    added.front() = std::make_unique<Pin>(std::move(shape), nullptr);
    added.front()->fill = makeFill(*this, brush, rectangular);
    if (!added.front()->fill) return false;
    pins_.splice(pins_.end(), added);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

void BlockedPainter::noteBackgroundFill() {
  hasBackgroundFill_ = true;
  backgroundValid_ = backgroundValid_ && background_ && background_->canSample();
}

}  // namespace orv::hdri::blockedAVX2
