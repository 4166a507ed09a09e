#pragma once

#include <vector>

#include "scene/Problems.h"
#include "scene/json_tree.h"

namespace orv::scene {

// Values that change with time: `{"keys": [[frame, value], ...], "interpolation": "linear"}` in place of a
// value anywhere in a scene's document but in `view`. Before the first key and after the last, the value
// stays.
//
// linear: straight between keys. smooth: cubic Hermite curves that do not overshoot their keys, after
// Steffen, "A simple method for monotonic interpolation in one dimension" (Astronomy & Astrophysics 239,
// 1990), at rest at the first and last key. step: the value of the last key. Azimuths (`azimuth`, `turn`,
// `northOffset`) go the short way round from key to key; half a turn goes as it is written. Arrays and
// objects of numbers are interpolated number by number; what is neither takes steps.

/// Puts the values at `frame` in the place of all animations. What is wrong goes to `problems`.
void resolveAnimations(JsonValue& document, double frame, Problems& problems);

/// Whether any value of the document changes with time.
bool isAnimated(const JsonValue& document);

/// The frames of all keys, ascending, each once. Empty for a scene that does not move.
std::vector<double> keyFrames(const JsonValue& document);

}  // namespace orv::scene
