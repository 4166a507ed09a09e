#pragma once

#include <list>
#include <memory>

namespace orv::hdri::blockedAVX2 {

class PinFill;
class PinShape;

/// A spot of the map: where it is and what it paints. Both are always there in a painter's list.
struct Pin {
  Pin(std::unique_ptr<PinShape> pinShape, std::unique_ptr<PinFill> pinFill);
  /// Destroys the fill, then the shape.
  ~Pin();
  Pin(const Pin&) = delete;
  Pin& operator=(const Pin&) = delete;

  std::unique_ptr<PinShape> shape;
  std::unique_ptr<PinFill> fill;
};

/// Pins in the order in which they are laid over the map.
using PinList = std::list<std::unique_ptr<Pin>>;

}  // namespace orv::hdri::blockedAVX2
