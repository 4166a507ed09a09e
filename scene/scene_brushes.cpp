#include "scene/scene_brushes.h"

#include "brushes/host_parameters.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"

namespace orv::scene {
namespace {

/// Makes the painter's brush of a paint.
struct BrushMaker {
  const std::string& folder;

  std::shared_ptr<hdri::Brush> operator()(const ColorPaint& paint) const {
    auto brush = std::make_shared<hdri::ColorBrush>(paint.color);
    brush->adjustments().brightness = paint.brightness;
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const GradientBackground& paint) const {
    auto brush = adjusted<hdri::GradientBrush>(paint);
    brush->setStops(paint.stops);
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const GradientFill& paint) const {
    auto brush = adjusted<hdri::GradientBrush>(paint);
    brush->setStops(paint.stops);
    brush->setCurve(paint.opacity);
    brush->setAngle(paint.angle);
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const SunSkyBackground& paint) const {
    auto brush = changed(adjusted<hdri::SunSkyBrush>(paint), paint.map);
    brush->settings() = paint.settings;
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const ImageBackground& paint) const {
    return changed(adjusted<hdri::ImageBrush>(paint, resolvePath(folder, paint.path)), paint.map);
  }
  std::shared_ptr<hdri::Brush> operator()(const ImageFill& paint) const {
    return adjusted<hdri::ImageBrush>(paint, resolvePath(folder, paint.path));
  }
  std::shared_ptr<hdri::Brush> operator()(const BackgroundFill& paint) const {
    return adjusted<hdri::BackgroundBrush>(paint, paint.turn, paint.tilt);
  }

 private:
  template <typename Brush, typename Paint, typename... Arguments>
  static std::shared_ptr<Brush> adjusted(const Paint& paint, const Arguments&... arguments) {
    auto brush = std::make_shared<Brush>(arguments...);
    brush->adjustments() = paint.adjustments;
    return brush;
  }
  template <typename Brush>
  static std::shared_ptr<Brush> changed(std::shared_ptr<Brush> brush, const MapChanges& map) {
    brush->setBlurAmount(map.blur);
    brush->setTiltAngles(map.rotation.azimuth, map.rotation.tilt);
    return brush;
  }
};

float radians(float degrees) { return degrees * hdri::kRadiansPerDegree; }

/// What both shapes share.
template <typename Params, typename Shape>
Params pinParams(const ScenePin& pin, const Shape& shape) {
  Params params;
  params.azimuth = radians(pin.azimuth);
  params.elevation = radians(pin.elevation);
  params.rotation = radians(pin.rotation);
  params.half = pin.half ? 1 : 0;
  params.falloffKind = shape.falloff;
  params.falloffAmount = pin.falloffAmount;
  return params;
}

}  // namespace

std::shared_ptr<hdri::Brush> backgroundBrush(const Background& background, const std::string& folder) {
  std::shared_ptr<hdri::Brush> made = std::visit(BrushMaker{folder}, background.paint);
  made->setMapSettingsOn(true);
  return made;
}

std::shared_ptr<hdri::Brush> fillBrush(const Fill& fill, const std::string& folder) {
  std::shared_ptr<hdri::Brush> made = std::visit(BrushMaker{folder}, fill.paint);
  made->setMode(fill.mode);
  return made;
}

hdri::CirclePinParams circleParams(const ScenePin& pin) {
  const auto& circle = std::get<CircleShape>(pin.shape);
  auto params = pinParams<hdri::CirclePinParams>(pin, circle);
  params.radius = radians(circle.radius);
  return params;
}

hdri::RectPinParams rectParams(const ScenePin& pin) {
  const auto& rect = std::get<RectShape>(pin.shape);
  auto params = pinParams<hdri::RectPinParams>(pin, rect);
  params.halfWidth = radians(rect.halfWidth);
  params.halfHeight = radians(rect.halfHeight);
  params.cornerRadius = radians(rect.cornerRadius);
  return params;
}

}  // namespace orv::scene
