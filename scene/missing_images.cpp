#include "scene/missing_images.h"

#include <filesystem>

namespace orv::scene {

std::vector<std::string> missingImages(const Scene& scene, const std::string& folder) {
  std::vector<std::string> lines;
  const auto look = [&](const std::string& place, const std::string& path) {
    // The session knows what it was given.
    if (isInMemory(path)) return;
    const std::string resolved = resolvePath(folder, path);
    std::error_code error;
    if (!std::filesystem::exists(resolved, error)) lines.push_back(place + ": there is no file " + resolved);
  };
  if (!scene.sizeFromImage.empty()) look("sizeFromImage", scene.sizeFromImage);
  if (const auto* image = std::get_if<ImageBackground>(&scene.background.paint))
    look("background.path", image->path);
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    if (const auto* image = std::get_if<ImageFill>(&scene.pins[i].fill.paint); image && scene.pins[i].enabled)
      look(pinLabel(scene, i) + ": fill.path", image->path);
  return lines;
}

}  // namespace orv::scene
