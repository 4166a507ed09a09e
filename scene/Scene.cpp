#include "scene/Scene.h"

#include <filesystem>

namespace orv::scene {

std::string resolvePath(const std::string& folder, const std::string& path) {
  // An absolute path stands for itself.
  return (std::filesystem::path(folder) / path).string();
}

std::string pinLabel(const Scene& scene, std::size_t index) {
  std::string label = "pins[" + std::to_string(index) + "]";
  const std::string& name = scene.pins[index].name;
  return name.empty() ? label : label + " \"" + name + "\"";
}

}  // namespace orv::scene
