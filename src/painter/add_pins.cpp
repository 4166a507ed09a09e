// How pins come into the painter's list.

#include <new>
#include <stdexcept>
#include <utility>

#include "backgrounds/BackgroundSource.h"
#include "fills/PinFill.h"
#include "painter/BlockedPainter.h"
#include "pins/fill_factory.h"
#include "shapes/CirclePinShape.h"
#include "shapes/RectPinShape.h"

namespace orv::hdri::blockedAVX2 {

float BlockedPainter::softEdgeWidth() const {
  return hdri::softEdgeWidth(context_.width, context_.height, context_.pinSizeScale);
}

bool BlockedPainter::addRectPin(const RectPinParams& params, const Brush& fill) {
  std::unique_ptr<PinShape> shape(new (std::nothrow) RectPinShape(params, softEdgeWidth()));
  if (shape && !shape->hasCurve() && isRectFalloff(params.falloffKind)) return false;
  return addPin(std::move(shape), fill, true);
}

bool BlockedPainter::addCirclePin(const CirclePinParams& params, const Brush& fill) {
  std::unique_ptr<PinShape> shape(new (std::nothrow) CirclePinShape(params, softEdgeWidth()));
  if (shape && !shape->hasCurve() && isCircleFalloff(params.falloffKind)) return false;
  return addPin(std::move(shape), fill, false);
}

bool BlockedPainter::addPin(std::unique_ptr<PinShape> shape, const Brush& brush, bool rectangular) {
  if (!shape) return false;
  if (pins_.size() == pins_.max_size()) throw std::length_error("list too long");
  try {
    // The node first: a pin that is refused must leave nothing behind.
    PinList added(1);
    added.front() = std::make_unique<Pin>(std::move(shape), makeFill(brush, rectangular));
    const PinFill* const fill = added.front()->fill.get();
    if (!fill) return false;
    if (fill->kind() == BrushKind::background) {
      // Map backgrounds keep a sampling copy from the next paint on; one that has none yet is prepared anew.
      context_.hasBackgroundFill = true;
      backgroundValid_ = backgroundValid_ && background_ && background_->canSample();
    }
    pins_.splice(pins_.end(), added);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace orv::hdri::blockedAVX2
