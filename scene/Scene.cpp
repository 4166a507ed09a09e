#include "scene/Scene.h"

#include <array>
#include <filesystem>

namespace orv::scene {

hdri::BrushKind SceneBrush::kind() const {
  using hdri::BrushKind;
  constexpr std::array kinds{BrushKind::color, BrushKind::gradient, BrushKind::sunSky, BrushKind::image,
                             BrushKind::background};
  return kinds[paint.index()];
}

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
