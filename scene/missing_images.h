#pragma once

#include <string>
#include <vector>

#include "scene/Scene.h"

namespace orv::scene {

/// The pictures that a scene shows and that are not there, a line for each with who wants it:
/// `pins[2] "rim": fill.path: there is no file lamps/rim.exr`. Pins that are not enabled want none.
/// @param folder the scene file's, which paths are relative to.
std::vector<std::string> missingImages(const Scene& scene, const std::string& folder);

/// The files of all pictures that a scene names, there or not; those of pins that are not enabled, too.
/// @param folder the scene file's, which paths are relative to.
std::vector<std::string> imageFiles(const Scene& scene, const std::string& folder);

}  // namespace orv::scene
