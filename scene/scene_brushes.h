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

/// The painter's parameters of a pin whose shape is this one, radians.
hdri::CirclePinParams pinParams(const ScenePin& pin, const CircleShape& circle);
hdri::RectPinParams pinParams(const ScenePin& pin, const RectShape& rect);

}  // namespace orv::scene
