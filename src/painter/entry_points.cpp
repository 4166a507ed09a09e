#include <new>

#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

[[gnu::visibility("default")]] IPainter* createPainter(PainterType type) {
  return new (std::nothrow) BlockedPainter(type);
}

}  // namespace orv::hdri::blockedAVX2

extern "C" {

[[gnu::visibility("default")]] orv::hdri::IPainter* createAVX2Painter() {
  return orv::hdri::blockedAVX2::createPainter(orv::hdri::PainterType::avx2);
}

[[gnu::visibility("default")]] void destroyAVX2Painter(orv::hdri::IPainter* painter) { delete painter; }

}  // extern "C"
