#include "hdri/ImageBrush.h"

#include "host/orvNode.h"

namespace orv::hdri {

bool ImageBrush::equals(const Brush& other) const {
  return Brush::equals(other) && path_ == static_cast<const ImageBrush&>(other).path_;
}

std::shared_ptr<Brush> ImageBrush::clone() const {
  auto copy = std::make_shared<ImageBrush>(path_);
  copyBaseTo(*copy);
  return copy;
}

orvNode* ImageBrush::hostNode(orvScene* scene) {
  orvNode* node = exportBase(hostNode_, scene, "orv.env.brush.image");
  if (!node) return nullptr;
  node->set_parameter("path", path_.c_str());
  return node;
}

}  // namespace orv::hdri
