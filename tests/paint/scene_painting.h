#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <string>
#include <variant>

#include "hdri/EnvImage.h"
#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "orvrender/orvHost.h"
#include "support/reference/scene.h"

/// Paints scenes of tests with the library against the reference host.
namespace paint_test {

/// A folder that lives as long as the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvhdri-paint-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::filesystem::filesystem_error("mkdtemp", name, std::error_code());
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Writes a portable float map: the plainest file that keeps 32-bit floats.
inline void writePfm(const std::filesystem::path& path, const reference::Image& image) {
  std::ofstream file(path, std::ios::binary);
  file << "PF\n" << image.width << ' ' << image.height << "\n-1.0\n";
  const std::size_t row = 3 * static_cast<std::size_t>(image.width);
  for (int y = image.height - 1; y >= 0; --y)
    file.write(reinterpret_cast<const char*>(&image.rgb[static_cast<std::size_t>(y) * row]),
               static_cast<std::streamsize>(row * sizeof(float)));
}

/// A host scene for one test.
class HostScene {
 public:
  HostScene() : scene_(orv_scene_create({})) {
    orv_log_set_listener([](void*, const char*) {}, nullptr);
  }
  ~HostScene() {
    orv_log_set_listener(nullptr, nullptr);
    orv_scene_destroy(scene_);
  }
  HostScene(const HostScene&) = delete;
  HostScene& operator=(const HostScene&) = delete;

  orvScene* get() const { return scene_; }

 private:
  orvScene* scene_;
};

/// The brush with the image's name turned into a path in `folder`.
inline std::shared_ptr<const orv::hdri::Brush> withPath(const std::shared_ptr<const orv::hdri::Brush>& brush,
                                                        const std::filesystem::path& folder) {
  if (brush->kind() != orv::hdri::BrushKind::image) return brush;
  const auto copy = std::static_pointer_cast<orv::hdri::ImageBrush>(brush->clone());
  copy->setPath((folder / copy->path()).string());
  return copy;
}

/// Paints a whole scene. Its images are written into a folder of their own first.
inline std::shared_ptr<orv::hdri::EnvImage> paint(const reference::Scene& scene) {
  const TemporaryFolder folder;
  for (const auto& [name, image] : scene.images) writePfm(folder.path() / name, image);
  const HostScene host;
  const std::unique_ptr<orv::hdri::IPainter, void (*)(orv::hdri::IPainter*)> painter(createAVX2Painter(),
                                                                                     destroyAVX2Painter);
  painter->setScene(host.get());
  painter->setSize(scene.width, scene.height);
  painter->setOptions({static_cast<std::uint8_t>(scene.smoothing), 0});
  EXPECT_TRUE(painter->setBackground(*withPath(scene.background, folder.path())));
  for (const reference::Pin& pin : scene.pins) {
    const auto fill = withPath(pin.fill, folder.path());
    const auto* circle = std::get_if<orv::hdri::CirclePinParams>(&pin.shape);
    const bool added = circle ? painter->addCirclePin(*circle, *fill)
                              : painter->addRectPin(std::get<orv::hdri::RectPinParams>(pin.shape), *fill);
    EXPECT_TRUE(added);
  }
  return painter->paint();
}

inline float radians(double degrees) { return static_cast<float>(degrees * std::numbers::pi / 180.0); }

}  // namespace paint_test
