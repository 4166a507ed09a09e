#include "hdri/BackgroundBrush.h"

#include "host/orvNode.h"

namespace orv::hdri {

bool BackgroundBrush::equals(const Brush& other) const {
  if (!Brush::equals(other)) return false;
  const auto& background = static_cast<const BackgroundBrush&>(other);
  return turn_ == background.turn_ && tilt_ == background.tilt_;
}

std::shared_ptr<Brush> BackgroundBrush::clone() const {
  auto copy = std::make_shared<BackgroundBrush>(turn_, tilt_);
  copyBaseTo(*copy);
  return copy;
}

orvNode* BackgroundBrush::hostNode(orvScene* scene) {
  orvNode* node = exportBase(hostNode_, scene, "orv.env.brush.background");
  if (!node) return nullptr;
  node->set_parameter("turn", turn_);
  node->set_parameter("tilt", tilt_);
  return node;
}

}  // namespace orv::hdri
