#pragma once

#include <string>
#include <vector>

#include "scene/Scene.h"
#include "scene/SceneErrors.h"

namespace orv::scene {

/// The pictures that a scene shows and that are not there, each with who wants it: `pins[2] "rim": fill.path:
/// there is no file lamps/rim.exr`. Pins that are not enabled want none. The problems have no lines;
/// SceneDocument::locate finds them.
/// @param fileName what messages call the scene. @param folder its file's, which paths are relative to.
std::vector<Problem> missingImages(const Scene& scene, const std::string& fileName,
                                   const std::string& folder);

/// The files of all pictures that a scene names, there or not; those of pins that are not enabled, too.
/// @param folder the scene file's, which paths are relative to.
std::vector<std::string> imageFiles(const Scene& scene, const std::string& folder);

}  // namespace orv::scene
