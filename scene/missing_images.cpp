#include "scene/missing_images.h"

#include <filesystem>

namespace orv::scene {
namespace {

/// Calls `look(place, file, wanted)` for each picture that has a file.
template <typename Look>
void forEachImage(const Scene& scene, const std::string& folder, Look look) {
  const auto lookAt = [&](const std::string& place, const std::string& path, bool wanted) {
    // What is in memory the session was given.
    if (!isInMemory(path)) look(place, resolvePath(folder, path), wanted);
  };
  if (!scene.sizeFromImage.empty()) lookAt("sizeFromImage", scene.sizeFromImage, true);
  if (const auto* image = std::get_if<ImageBackground>(&scene.background.paint))
    lookAt("background.path", image->path, true);
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    if (const auto* image = std::get_if<ImageFill>(&scene.pins[i].fill.paint))
      lookAt(pinLabel(scene, i) + ": fill.path", image->path, scene.pins[i].enabled);
}

}  // namespace

std::vector<std::string> missingImages(const Scene& scene, const std::string& folder) {
  std::vector<std::string> lines;
  forEachImage(scene, folder, [&](const std::string& place, const std::string& file, bool wanted) {
    std::error_code error;
    if (wanted && !std::filesystem::exists(file, error))
      lines.push_back(place + ": there is no file " + file);
  });
  return lines;
}

std::vector<std::string> imageFiles(const Scene& scene, const std::string& folder) {
  std::vector<std::string> files;
  forEachImage(scene, folder,
               [&](const std::string&, const std::string& file, bool) { files.push_back(file); });
  return files;
}

}  // namespace orv::scene
