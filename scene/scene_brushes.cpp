#include "scene/scene_brushes.h"

#include "brushes/host_parameters.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"

namespace orv::scene {
namespace {

struct BrushMaker {
  const std::string& folder;

  std::shared_ptr<hdri::Brush> operator()(const ColorPaint& paint) const {
    return std::make_shared<hdri::ColorBrush>(paint.color);
  }
  std::shared_ptr<hdri::Brush> operator()(const GradientPaint& paint) const {
    auto brush = std::make_shared<hdri::GradientBrush>();
    brush->setStops(paint.stops);
    brush->setCurve(paint.opacity);
    brush->setAngle(paint.angle);
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const SunSkyPaint& paint) const {
    auto brush = std::make_shared<hdri::SunSkyBrush>();
    brush->settings() = paint.settings;
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const ImagePaint& paint) const {
    return std::make_shared<hdri::ImageBrush>(resolvePath(folder, paint.path));
  }
  std::shared_ptr<hdri::Brush> operator()(const BackgroundPaint& paint) const {
    return std::make_shared<hdri::BackgroundBrush>(paint.turn, paint.tilt);
  }
};

std::shared_ptr<hdri::Brush> makeBrush(const SceneBrush& brush, const std::string& folder) {
  std::shared_ptr<hdri::Brush> made = std::visit(BrushMaker{folder}, brush.paint);
  made->adjustments() = brush.adjustments;
  return made;
}

float radians(float degrees) { return degrees * hdri::kRadiansPerDegree; }

/// What both shapes share.
template <typename Params>
Params pinParams(const ScenePin& pin) {
  Params params;
  params.azimuth = radians(pin.azimuth);
  params.elevation = radians(pin.elevation);
  params.rotation = radians(pin.rotation);
  params.half = pin.half ? 1 : 0;
  params.falloffKind = pin.falloff;
  params.falloffAmount = pin.falloffAmount;
  return params;
}

}  // namespace

std::shared_ptr<hdri::Brush> backgroundBrush(const SceneBrush& brush, const std::string& folder) {
  std::shared_ptr<hdri::Brush> made = makeBrush(brush, folder);
  made->setMapSettingsOn(true);
  made->setBlurAmount(brush.blur);
  made->setTiltAngles(brush.rotationAzimuth, brush.rotationTilt);
  return made;
}

std::shared_ptr<hdri::Brush> fillBrush(const SceneBrush& brush, const std::string& folder) {
  std::shared_ptr<hdri::Brush> made = makeBrush(brush, folder);
  made->setMode(brush.mode);
  return made;
}

hdri::CirclePinParams circleParams(const ScenePin& pin) {
  auto params = pinParams<hdri::CirclePinParams>(pin);
  params.radius = radians(std::get<CircleShape>(pin.shape).radius);
  return params;
}

hdri::RectPinParams rectParams(const ScenePin& pin) {
  const auto& rect = std::get<RectShape>(pin.shape);
  auto params = pinParams<hdri::RectPinParams>(pin);
  params.halfWidth = radians(rect.halfWidth);
  params.halfHeight = radians(rect.halfHeight);
  params.cornerRadius = radians(rect.cornerRadius);
  return params;
}

}  // namespace orv::scene
