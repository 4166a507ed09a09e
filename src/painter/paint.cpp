#include "backgrounds/BackgroundSource.h"
#include "backgrounds/optional_operations.h"
#include "maps/PixelMemory.h"
#include "maps/StopCheck.h"
#include "painter/BlockedPainter.h"
#include "pins/pin_pass.h"

namespace orv::hdri::blockedAVX2 {

namespace {

bool isCancelled(const void* context) {
  return optionalOperations().cancelled(static_cast<const PaintContext*>(context)->scene);
}

}  // namespace

std::shared_ptr<EnvImage> BlockedPainter::paint() {
  if (!background_) return {};
  const StopCheck check(optionalOperations().cancelled ? &isCancelled : nullptr, &context_);
  try {
    return paintAll();
  } catch (const LoopStopped&) {
    return {};
  }
}

std::shared_ptr<EnvImage> BlockedPainter::paintAll() {
  std::shared_ptr<EnvImage> result;
  if (context_.width != 0 && context_.height != 0)
    result = std::make_shared<EnvImage>(context_.width, context_.height, &PixelMemory::instance());

  if (!backgroundValid_ || !keepBackground_) {
    // What throws on the way leaves a map that is not to be kept.
    backgroundValid_ = false;
    prepareBackground();
    backgroundValid_ = true;
  }
  // A map without pixels has nothing to paint, however many rows or columns it has.
  if (result) paintPins(context_, *background_, pins_, *result);
  return result;
}

}  // namespace orv::hdri::blockedAVX2
