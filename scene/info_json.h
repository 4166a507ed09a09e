#pragma once

#include <string>

#include "scene/Scene.h"
#include "scene/map_info.h"
#include "scene/scene_info.h"

namespace orv::scene {

// What `orvpaint info` tells, as one line of JSON without its newline; docs/command-line.md lists the keys.

std::string infoJson(const std::string& path, Layout layout, const MapInfo& info);

std::string infoJson(const std::string& path, const Scene& scene, const SceneInfo& info);

}  // namespace orv::scene
