#include "pins/fill_factory.h"

#include <new>

#include "brushes/BackgroundRotationFill.h"
#include "brushes/GradientFill.h"
#include "brushes/ImageFill.h"
#include "brushes/SolidColorFill.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

std::unique_ptr<PinFill> makeFill(BlockedPainter& painter, const Brush& brush, bool rectangular) {
  try {
    switch (brush.kind()) {
      case BrushKind::color:
        return std::unique_ptr<PinFill>(new (std::nothrow)
                                            SolidColorFill(static_cast<const ColorBrush&>(brush)));
      case BrushKind::gradient:
        return std::unique_ptr<PinFill>(
            new (std::nothrow) GradientFill(static_cast<const GradientBrush&>(brush), rectangular));
      case BrushKind::image:
        return std::unique_ptr<PinFill>(new (std::nothrow) ImageFill(static_cast<const ImageBrush&>(brush)));
      case BrushKind::background: {
        std::unique_ptr<PinFill> fill(new (std::nothrow)
                                          BackgroundRotationFill(static_cast<const BackgroundBrush&>(brush)));
        if (fill) painter.noteBackgroundFill();
        return fill;
      }
      case BrushKind::sunSky:
        break;
    }
  } catch (const std::bad_alloc&) {
    // What a fill holds beside its own storage did not fit: no fill.
  }
  return nullptr;
}

std::unique_ptr<PinFill> makeRedFill() {
  return std::unique_ptr<PinFill>(new (std::nothrow) SolidColorFill(ColorBrush(1.0f, 0.0f, 0.0f)));
}

}  // namespace orv::hdri::blockedAVX2
