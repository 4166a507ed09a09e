#include "scene/scene_brushes.h"

#include <algorithm>
#include <cmath>

#include "brushes/host_parameters.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

/// An azimuth in degrees as the painter's rotations take it: 0 to 360.
float withinTurn(float azimuth) {
  if (azimuth >= 0 && azimuth <= 360) return azimuth;
  const double rest = std::fmod(static_cast<double>(azimuth), 360.0);
  return static_cast<float>(rest < 0 ? rest + 360 : rest);
}

/// The rotation's azimuth, degrees, over a picture that lies in a layout: the painter turns by it what is in
/// the file, about the axis on which layouts differ.
float azimuthInFile(Layout layout, float azimuth) {
  const int turns = quarterTurns(layout);
  if (turns == 0) return azimuth;
  // The painter drops fractions of a column: a little more makes up for the rounding of quarters to floats.
  constexpr double kMargin = 1e-4;
  const double inFile = std::fmod(static_cast<double>(azimuth) + 360 - 90 * turns, 360.0) + kMargin;
  return static_cast<float>(std::min(inFile, 360.0));
}

/// Makes the painter's brush of a paint.
struct BrushMaker {
  const std::string& folder;

  std::shared_ptr<hdri::Brush> operator()(const ColorPaint& paint) const {
    auto brush = std::make_shared<hdri::ColorBrush>(paint.color);
    brush->adjustments().brightness = paint.brightness;
    return brush;
  }
  std::shared_ptr<hdri::GradientBrush> operator()(const GradientPaint& paint) const {
    auto brush = adjusted<hdri::GradientBrush>(paint);
    brush->setStops(paint.stops);
    return brush;
  }
  std::shared_ptr<hdri::Brush> operator()(const GradientFill& paint) const {
    auto brush = (*this)(paint.gradient);
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
    MapChanges map = paint.map;
    map.rotation.azimuth = azimuthInFile(paint.layout, withinTurn(paint.map.rotation.azimuth));
    return changed(adjusted<hdri::ImageBrush>(paint, resolvePath(folder, paint.path)), map);
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
    brush->setTiltAngles(withinTurn(map.rotation.azimuth), map.rotation.tilt);
    return brush;
  }
};

/// An azimuth in degrees as the painter's pins take it: -180 to 180.
float withinHalfTurn(float azimuth) {
  if (std::abs(azimuth) <= 180) return azimuth;
  return static_cast<float>(std::remainder(static_cast<double>(azimuth), 360.0));
}

float radians(float degrees) { return degrees * hdri::kRadiansPerDegree; }

/// What all shapes share.
template <typename Params, typename Shape>
Params commonParams(const ScenePin& pin, const Shape& shape) {
  Params params;
  params.azimuth = radians(withinHalfTurn(pin.azimuth));
  params.elevation = radians(pin.elevation);
  params.rotation = radians(pin.rotation);
  params.half = pin.half ? 1 : 0;
  params.falloffKind = shape.falloff;
  params.falloffAmount = pin.falloffAmount;
  return params;
}

}  // namespace

std::shared_ptr<hdri::Brush> backgroundBrush(const Background& background, const std::string& folder) {
  auto made = std::visit<std::shared_ptr<hdri::Brush>>(BrushMaker{folder}, background.paint);
  made->setMapSettingsOn(true);
  return made;
}

std::shared_ptr<hdri::Brush> fillBrush(const Fill& fill, const std::string& folder) {
  auto made = std::visit<std::shared_ptr<hdri::Brush>>(BrushMaker{folder}, fill.paint);
  made->setMode(fill.mode);
  return made;
}

hdri::CirclePinParams pinParams(const ScenePin& pin, const CircleShape& circle) {
  auto params = commonParams<hdri::CirclePinParams>(pin, circle);
  params.radius = radians(circle.radius);
  return params;
}

hdri::RectPinParams pinParams(const ScenePin& pin, const RectShape& rect) {
  auto params = commonParams<hdri::RectPinParams>(pin, rect);
  params.halfWidth = radians(rect.halfWidth);
  params.halfHeight = radians(rect.halfHeight);
  params.cornerRadius = radians(rect.cornerRadius);
  return params;
}

}  // namespace orv::scene
