#pragma once

#include <string>

#include "scene/Scene.h"
#include "scene/SceneErrors.h"

namespace orv::scene {

/// The scene as the text of a scene file. Settings that have their default are left out, and each number is
/// the shortest text that reads back as the same 32-bit float, so that reading and writing again gives the
/// same bytes.
/// @throws SceneErrors when the scene holds what a scene file can not (a number out of range, text that is
///         not UTF-8).
std::string sceneText(const Scene& scene);

/// Writes the scene file `path` (UTF-8); an older file of that name stays as it is until the new one is
/// whole.
/// @throws SceneErrors as `sceneText`; FileError when the file can not be written.
void writeScene(const Scene& scene, const std::string& path);

}  // namespace orv::scene
