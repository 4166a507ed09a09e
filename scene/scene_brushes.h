#pragma once

#include <memory>
#include <string>

#include "hdri/Brush.h"
#include "hdri/PinParams.h"
#include "scene/Scene.h"

namespace orv::scene {

/// The painter's brush of a background. Image paths are resolved from `folder`, the scene file's.
std::shared_ptr<hdri::Brush> backgroundBrush(const Background& background, const std::string& folder);

/// The painter's brush of a pin's fill.
std::shared_ptr<hdri::Brush> fillBrush(const Fill& fill, const std::string& folder);

/// The painter's parameters of a circle, radians. The pin's shape must be a circle.
hdri::CirclePinParams circleParams(const ScenePin& pin);

/// The painter's parameters of a rectangle, radians. The pin's shape must be a rectangle.
hdri::RectPinParams rectParams(const ScenePin& pin);

}  // namespace orv::scene
