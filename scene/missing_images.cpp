#include "scene/missing_images.h"

#include <filesystem>
#include <optional>

namespace orv::scene {
namespace {

/// Calls `look(place, file, pin)` for each picture that has a file, `pin` the number of the one that shows
/// it.
template <typename Look>
void forEachImage(const Scene& scene, const std::string& folder, Look look) {
  const auto lookAt = [&](const std::string& place, const std::string& path, std::optional<std::size_t> pin) {
    // What is in memory the session was given.
    if (!isInMemory(path)) look(place, resolvePath(folder, path), pin);
  };
  if (!scene.sizeFromImage.empty()) lookAt("sizeFromImage", scene.sizeFromImage, {});
  if (const auto* image = std::get_if<ImageBackground>(&scene.background.paint))
    lookAt("background.path", image->path, {});
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    if (const auto* image = std::get_if<ImageFill>(&scene.pins[i].fill.paint))
      lookAt("pins[" + std::to_string(i) + "].fill.path", image->path, i);
}

}  // namespace

std::vector<Problem> missingImages(const Scene& scene, const std::string& fileName,
                                   const std::string& folder) {
  std::vector<Problem> missing;
  forEachImage(scene, folder,
               [&](const std::string& place, const std::string& file, std::optional<std::size_t> pin) {
                 std::error_code error;
                 if ((pin && !scene.pins[*pin].enabled) || std::filesystem::exists(file, error)) return;
                 missing.push_back({fileName, place, "there is no file " + file});
                 if (pin) missing.back().pin = scene.pins[*pin].name;
               });
  return missing;
}

std::vector<std::string> imageFiles(const Scene& scene, const std::string& folder) {
  std::vector<std::string> files;
  forEachImage(scene, folder, [&](const std::string&, const std::string& file, std::optional<std::size_t>) {
    files.push_back(file);
  });
  return files;
}

}  // namespace orv::scene
