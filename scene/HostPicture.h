#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hdri/EnvImage.h"
#include "scene/SceneErrors.h"

class orvImage;
class orvScene;

namespace orv::scene {

inline constexpr std::uint64_t kMaxPicturePixels = std::uint64_t{1} << 28;

/// A picture that the host has read as an environment map: linear RGB floats, finite.
class HostPicture {
 public:
  /// @param path UTF-8. @param maxPixels a larger one is refused.
  /// @throws FileError when it can not be read, with the host's reason.
  explicit HostPicture(const std::string& path, std::uint64_t maxPixels = kMaxPicturePixels);
  ~HostPicture();
  HostPicture(const HostPicture&) = delete;
  HostPicture& operator=(const HostPicture&) = delete;

  const orvImage& image() const { return *image_; }

 private:
  struct DestroyScene {
    void operator()(orvScene* host) const;
  };

  std::unique_ptr<orvScene, DestroyScene> host_;
  orvImage* image_;
};

/// The map at `path` (UTF-8). @throws FileError when it can not be read, with the host's reason.
hdri::EnvImage readMap(const std::string& path, std::uint64_t maxPixels = kMaxPicturePixels);

}  // namespace orv::scene
