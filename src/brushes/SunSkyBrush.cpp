#include "hdri/SunSkyBrush.h"

#include "host/orvNode.h"

namespace orv::hdri {

bool SunSkyBrush::equals(const Brush& other) const {
  return Brush::equals(other) && settings_ == static_cast<const SunSkyBrush&>(other).settings_;
}

std::shared_ptr<Brush> SunSkyBrush::clone() const {
  auto copy = std::make_shared<SunSkyBrush>();
  copyBaseTo(*copy);
  copy->settings_ = settings_;
  return copy;
}

orvNode* SunSkyBrush::hostNode(orvScene* scene) {
  orvNode* node = exportBase(hostNode_, scene, "orv.env.brush.sunsky");
  if (!node) return nullptr;
  node->set_parameter("turbidity", settings_.turbidity);
  node->set_parameter("ozone", settings_.ozone);
  node->set_parameter("groundAlbedo", settings_.groundAlbedo);
  node->set_parameter("skyIntensity", settings_.skyIntensity);
  node->set_parameter("sunIntensity", settings_.sunIntensity);
  node->set_parameter("sunSize", settings_.sunSize);
  node->set_parameter("latitude", settings_.latitude);
  node->set_parameter("longitude", settings_.longitude);
  node->set_parameter("hours", settings_.hours);
  node->set_parameter("sunFromAngles", static_cast<std::uint32_t>(settings_.sunFromAngles));
  node->set_parameter("sunAzimuth", settings_.sunAzimuth);
  node->set_parameter("sunElevation", settings_.sunElevation);
  node->set_parameter("dayOfYear", settings_.dayOfYear);
  node->set_parameter("timeZone", settings_.timeZone);
  node->set_parameter("northOffset", settings_.northOffset);
  return node;
}

}  // namespace orv::hdri
