#pragma once

#include <cstddef>
#include <span>

class orvNode;
class orvScene;
class orvSky;
struct orvFloat_array;

namespace orv::hdri {

class Brush;
class SunSkyBrush;

/// Degrees to radians, the one factor for angles that brushes give.
inline constexpr float kRadiansPerDegree = 0.017453292f;

/// Makes a host parameter node of the named type for a brush.
/// @return the node, owned by the host; null, without a call to the host, when the brush's owner is gone.
/// Set-up thread only.
orvNode* createHostNode(const Brush& brush, orvScene* scene, const char* typeName);

/// Copies a sun-and-sky brush's settings into the host's sky and sets the sun: the brush's two angles when
/// they are given and the node's "hours" is not animated, else the sky's own sun. Set-up thread only.
void applySunAndSky(const SunSkyBrush& brush, orvSky& sky);

/// Sets a host float array to `values`. Storage that is large enough is kept; else a block of exactly that
/// many floats takes its place, and the old block is given back.
/// @return false, and the array as it was, when there is no memory.
bool setFloatArray(orvFloat_array& array, std::span<const float> values);

}  // namespace orv::hdri
