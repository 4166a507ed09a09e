#pragma once

#include <string>

#include "scene/OutputFile.h"
#include "scene/scene_names.h"

namespace orv::scene {

/// A USD layer (text) with one dome light that shows a map: the stage has z up, our middle is along +x and
/// our zenith along +z, as `blender` has them. @param asset the map's path as the layer gives it; @param
/// layout how the map lies.
std::string domeLightText(const std::string& asset, Layout layout);

/// Writes such a layer into `file`, with the path from its folder to the map, and finishes it; the caller
/// commits. @throws FileError when the file can not be written.
void writeDomeLight(OutputFile& file, const std::string& mapPath, Layout layout);

}  // namespace orv::scene
