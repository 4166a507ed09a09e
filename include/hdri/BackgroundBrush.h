#pragma once

#include "hdri/Brush.h"

namespace orv::hdri {

/// The map's own background, rotated: what lies at longitude `turn` and latitude `tilt` comes to the map's
/// centre. Fills pins only.
class BackgroundBrush final : public Brush {
 public:
  BackgroundBrush(float turnDegrees, float tiltDegrees) : turn_(turnDegrees), tilt_(tiltDegrees) {}

  float turn() const { return turn_; }
  float tilt() const { return tilt_; }
  void setAngles(float turnDegrees, float tiltDegrees) {
    turn_ = turnDegrees;
    tilt_ = tiltDegrees;
  }

  BrushKind kind() const override { return BrushKind::background; }
  bool equals(const Brush& other) const override;
  std::shared_ptr<Brush> clone() const override;
  orvNode* hostNode(orvScene* scene) override;

 private:
  orvNode* hostNode_ = nullptr;
  float turn_;
  float tilt_;
};

}  // namespace orv::hdri
