#include "scene/HostPicture.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "host/orvImage.h"
#include "orvrender/orvHost.h"
#include "scene/LogCollector.h"

namespace orv::scene {

void HostPicture::DestroyScene::operator()(orvScene* host) const { orv_scene_destroy(host); }

HostPicture::HostPicture(const std::string& path, std::uint64_t maxPixels)
    : host_(orv_scene_create({.maxImagePixels = maxPixels})) {
  if (!host_) throw std::bad_alloc();
  LogCollector log;
  image_ = orv_image_load(host_.get(), path.c_str(), orvTexture_profile::environment, false, nullptr);
  if (image_) return;
  const std::string reason = log.joined();
  throw FileError(reason.find(path) == std::string::npos ? path + ": cannot be read: " + reason : reason);
}

HostPicture::~HostPicture() { orv_image_free(host_.get(), image_, true); }

hdri::EnvImage readMap(const std::string& path, std::uint64_t maxPixels) {
  const HostPicture picture(path, maxPixels);
  const orvImage& image = picture.image();
  hdri::EnvImage map(static_cast<int>(image.width()), static_cast<int>(image.height()));
  const float* channel = image.pixels();
  for (hdri::Rgb& pixel : map.pixels) {
    pixel = {channel[0], channel[1], channel[2]};
    channel += 3;
  }
  return map;
}

}  // namespace orv::scene
