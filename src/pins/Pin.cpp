#include "pins/Pin.h"

#include <utility>

#include "fills/PinFill.h"
#include "shapes/PinShape.h"

namespace orv::hdri::blockedAVX2 {

Pin::Pin(std::unique_ptr<PinShape> pinShape, std::unique_ptr<PinFill> pinFill)
    : shape(std::move(pinShape)), fill(std::move(pinFill)) {}

Pin::~Pin() = default;

}  // namespace orv::hdri::blockedAVX2
