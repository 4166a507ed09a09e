#include "hdri/ColorBrush.h"

#include "host/orvNode.h"

namespace orv::hdri {

bool ColorBrush::equals(const Brush& other) const {
  return Brush::equals(other) && color_ == static_cast<const ColorBrush&>(other).color_;
}

std::shared_ptr<Brush> ColorBrush::clone() const {
  auto copy = std::make_shared<ColorBrush>(color_);
  copyBaseTo(*copy);
  return copy;
}

orvNode* ColorBrush::hostNode(orvScene* scene) {
  orvNode* node = exportBase(hostNode_, scene, "orv.env.brush.color");
  if (!node) return nullptr;
  node->set_parameter("r", color_.r);
  node->set_parameter("g", color_.g);
  node->set_parameter("b", color_.b);
  return node;
}

}  // namespace orv::hdri
