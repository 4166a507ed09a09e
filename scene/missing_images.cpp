#include "scene/missing_images.h"

#include <filesystem>

namespace orv::scene {

std::vector<Problem> missingImages(const Scene& scene, const std::string& fileName,
                                   const std::string& folder) {
  std::vector<Problem> missing;
  const auto look = [&](const std::string& place, const std::string& path, const std::string& pin = {}) {
    // The session knows what it was given.
    if (isInMemory(path)) return;
    const std::string resolved = resolvePath(folder, path);
    std::error_code error;
    if (std::filesystem::exists(resolved, error)) return;
    missing.push_back({fileName, place, "there is no file " + resolved});
    missing.back().pin = pin;
  };
  if (!scene.sizeFromImage.empty()) look("sizeFromImage", scene.sizeFromImage);
  if (const auto* image = std::get_if<ImageBackground>(&scene.background.paint))
    look("background.path", image->path);
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    if (const auto* image = std::get_if<ImageFill>(&scene.pins[i].fill.paint); image && scene.pins[i].enabled)
      look("pins[" + std::to_string(i) + "].fill.path", image->path, scene.pins[i].name);
  return missing;
}

}  // namespace orv::scene
