#include "pins/fill_factory.h"

#include <new>

#include "fills/BackgroundRotationFill.h"
#include "fills/GradientFill.h"
#include "fills/ImageFill.h"
#include "fills/SolidColorFill.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"

namespace orv::hdri::blockedAVX2 {

namespace {

template <typename Fill, typename... Args>
std::unique_ptr<PinFill> make(const Args&... args) {
  return std::unique_ptr<PinFill>(new (std::nothrow) Fill(args...));
}

}  // namespace

std::unique_ptr<PinFill> makeFill(const Brush& brush, bool rectangular) {
  try {
    switch (brush.kind()) {
      case BrushKind::color:
        return make<SolidColorFill>(static_cast<const ColorBrush&>(brush));
      case BrushKind::gradient:
        return make<GradientFill>(static_cast<const GradientBrush&>(brush), rectangular);
      case BrushKind::image:
        return make<ImageFill>(static_cast<const ImageBrush&>(brush));
      case BrushKind::background:
        return make<BackgroundRotationFill>(static_cast<const BackgroundBrush&>(brush));
      case BrushKind::sunSky:
        break;
    }
  } catch (const std::bad_alloc&) {
    // What a fill holds beside its own storage did not fit: no fill.
  }
  return nullptr;
}

std::unique_ptr<PinFill> makeRedFill() { return make<SolidColorFill>(ColorBrush(1.0f, 0.0f, 0.0f)); }

}  // namespace orv::hdri::blockedAVX2
