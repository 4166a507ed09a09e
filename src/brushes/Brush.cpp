#include "hdri/Brush.h"

#include "brushes/host_parameters.h"
#include "host/BrushOwner.h"
#include "host/orvNode.h"

namespace orv::hdri {

Brush::~Brush() = default;

bool Brush::isOverridden() const {
  if (override_) return true;
  const std::shared_ptr<BrushOwner> owner = owner_.lock();
  return owner && owner->override;
}

bool Brush::equals(const Brush& other) const {
  if (enabled_ != other.enabled_ || override_ != other.override_ || kind() != other.kind()) return false;
  if (mapSettingsOn_ != other.mapSettingsOn_) return false;
  if (mapSettingsOn_) {
    if (blurAmount_ != other.blurAmount_ || blurOnSphere_ != other.blurOnSphere_ ||
        tiltAngle1_ != other.tiltAngle1_ || tiltAngle2_ != other.tiltAngle2_ || width_ != other.width_ ||
        height_ != other.height_)
      return false;
  } else if (mode_ != other.mode_) {
    return false;
  }
  return adjustments_ == other.adjustments_;
}

std::pair<std::uint32_t, std::uint32_t> Brush::size() const { return {width_, height_}; }

bool Brush::setSize(std::uint32_t width, std::uint32_t height) {
  if (width == width_ && height == height_) return true;
  width_ = width;
  height_ = height;
  const std::shared_ptr<BrushOwner> owner = owner_.lock();
  if (!owner) return true;
  const std::shared_ptr<Brush> self = shared_from_this();
  owner->changed = 1;
  owner->needsRepaint = 1;
  if (owner->background == self) owner->backgroundChanged = 1;
  if (owner->listener) owner->listener->brushChanged(self);
  return true;
}

orvNode* Brush::hostNode(orvScene*) { return nullptr; }

void Brush::copyBaseTo(Brush& clone) const {
  clone.enabled_ = enabled_;
  clone.override_ = override_;
  clone.mode_ = mode_;
  clone.mapSettingsOn_ = mapSettingsOn_;
  clone.adjustments_ = adjustments_;
  clone.blurAmount_ = blurAmount_;
  clone.blurOnSphere_ = blurOnSphere_;
  clone.tiltAngle1_ = tiltAngle1_;
  clone.tiltAngle2_ = tiltAngle2_;
  clone.width_ = width_;
  clone.height_ = height_;
}

orvNode* Brush::exportBase(orvNode*& node, orvScene* scene, const char* typeName) const {
  if (!node) node = createHostNode(*this, scene, typeName);
  if (!node) return nullptr;
  node->set_parameter("mode", mode_);
  for (const auto& [name, value] : kAdjustmentParameters) node->set_parameter(name, adjustments_.*value);
  if (blurOnSphere_) node->set_parameter("blurOnSphere", std::uint32_t{blurOnSphere_});
  return node;
}

}  // namespace orv::hdri
