#pragma once

#include "scene/ObjectReader.h"
#include "scene/Scene.h"

namespace orv::scene {

enum class BrushUse { background, fill };

/// Reads a brush. What is wrong goes to `problems`, and the result is then good for nothing.
SceneBrush readBrush(const JsonValue& value, const JsonPath& path, BrushUse use, Problems& problems);

}  // namespace orv::scene
