#include "scene/scene_info.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <new>
#include <numbers>
#include <stdexcept>

#include "host/orvSky.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/images/ImageModule.h"
#include "orvrender/orvHost.h"
#include "scene/Session.h"
#include "scene/map_info.h"
#include "scene/pin_light.h"
#include "scene/scene_brushes.h"

namespace orv::scene {
namespace {

constexpr double kDegree = std::numbers::pi / 180;

PictureInfo pictureAt(std::string place, const std::string& folder, const std::string& path) {
  PictureInfo info{std::move(place), resolvePath(folder, path)};
  std::error_code ignored;
  info.found = std::filesystem::exists(info.path, ignored);
  if (!info.found) return info;
  try {
    host::FileHeader header;
    orv_image_describe(info.path, header);
    info.width = header.width;
    info.height = header.height;
  } catch (const host::ImageError& error) {
    info.error = error.what();
  }
  return info;
}

std::vector<PictureInfo> picturesOf(const Scene& scene, const std::string& folder) {
  std::vector<PictureInfo> pictures;
  if (!scene.sizeFromImage.empty())
    pictures.push_back(pictureAt("sizeFromImage", folder, scene.sizeFromImage));
  if (const auto* image = std::get_if<ImageBackground>(&scene.background.paint))
    pictures.push_back(pictureAt("background.path", folder, image->path));
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    if (const auto* image = std::get_if<ImageFill>(&scene.pins[i].fill.paint); image && scene.pins[i].enabled)
      pictures.push_back(pictureAt("pins[" + std::to_string(i) + "].fill.path", folder, image->path));
  return pictures;
}

/// What the rotation of a background does to a direction.
SunInfo rotated(const SunInfo& sun, const Rotation& rotation) {
  const double azimuth = (sun.azimuth - static_cast<double>(rotation.azimuth)) * kDegree;
  const double elevation = sun.elevation * kDegree, tilt = static_cast<double>(rotation.tilt) * kDegree;
  const double x = std::cos(elevation) * std::cos(azimuth);
  const double y = std::cos(elevation) * std::sin(azimuth);
  const double z = std::sin(elevation);
  // What lies `tilt` upward of the centre comes to it.
  const double forward = std::cos(tilt) * x + std::sin(tilt) * z;
  const double up = std::cos(tilt) * z - std::sin(tilt) * x;
  return {std::atan2(y, forward) / kDegree, std::asin(std::clamp(up, -1.0, 1.0)) / kDegree};
}

std::optional<SunInfo> sunOf(const Background& background) {
  const auto* sky = std::get_if<SunSkyBackground>(&background.paint);
  if (!sky) return std::nullopt;
  const hdri::SkySettings& settings = sky->settings;
  SunInfo sun{static_cast<double>(settings.sunAzimuth), static_cast<double>(settings.sunElevation)};
  if (!settings.sunFromAngles) {
    const std::unique_ptr<orvScene, void (*)(orvScene*)> host(orv_scene_create({}), &orv_scene_destroy);
    if (!host) throw std::bad_alloc();
    orvSky& hosts = *orv_get_sky(host.get());
    hosts.settingsGiven = 1;
    hosts.hours = settings.hours;
    hosts.dayOfYear = settings.dayOfYear;
    hosts.timeZone = settings.timeZone;
    hosts.latitude = settings.latitude;
    hosts.longitude = settings.longitude;
    hosts.northOffset = settings.northOffset;
    orv_sky_sun(host.get(), &sun.azimuth, &sun.elevation);
  }
  return rotated(sun, sky->map.rotation);
}

double luminanceOf(const std::array<double, 3>& rgb) {
  return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
}

/// Paints the scene in small with its first pins, one more each time.
void measureShares(const Scene& scene, const std::string& folder, const std::string& painter,
                   SceneInfo& info) {
  // Each pin is painted with all before it.
  constexpr std::size_t kMostPins = 256;
  if (!info.complete()) {
    info.withoutShares = "a picture is missing";
    return;
  }
  if (scene.pins.size() > kMostPins) {
    info.withoutShares = "more than " + std::to_string(kMostPins) + " pins";
    return;
  }
  const PaintOptions options{
      .folder = folder, .size = MapSize{std::min(info.size->width, 1024), std::min(info.size->height, 512)}};
  Scene part = scene;
  part.pins.clear();
  part.sizeFromImage.clear();
  std::vector<double> light;
  try {
    Session session(painter);
    for (std::size_t i = 0; i <= scene.pins.size(); ++i) {
      if (i > 0) part.pins.push_back(scene.pins[i - 1]);
      if (i > 0 && !scene.pins[i - 1].enabled) {
        light.push_back(light.back());
        continue;
      }
      const PaintResult painted = session.paint(part, options);
      if (painted.fellBack) {
        info.withoutShares =
            painted.messages.empty() ? "it can not be painted whole" : painted.messages.front();
        return;
      }
      info.mean = lightOf(*painted.map).mean;
      light.push_back(luminanceOf(*info.mean));
    }
  } catch (const std::runtime_error& error) {
    info.withoutShares = error.what();
    return;
  }
  if (!(light.back() > 0)) {
    info.withoutShares = "the map has no light";
    return;
  }
  info.backgroundShare = light.front() / light.back();
  for (std::size_t i = 0; i < scene.pins.size(); ++i)
    info.pins[i].share = (light[i + 1] - light[i]) / light.back();
}

}  // namespace

bool SceneInfo::complete() const {
  return std::all_of(pictures.begin(), pictures.end(),
                     [](const PictureInfo& picture) { return picture.found && picture.error.empty(); });
}

SceneInfo describeScene(const Scene& scene, const std::string& folder, const std::string& painter) {
  SceneInfo info;
  info.pictures = picturesOf(scene, folder);
  if (scene.sizeFromImage.empty())
    info.size = scene.size;
  else if (const PictureInfo& picture = info.pictures.front(); picture.width > 0)
    info.size = MapSize{picture.width, picture.height};
  info.sun = sunOf(scene.background);
  for (const ScenePin& pin : scene.pins)
    info.pins.push_back(
        {std::visit([&](const auto& shape) { return solidAngle(pinParams(pin, shape)); }, pin.shape)});
  measureShares(scene, folder, painter, info);
  if (!info.withoutShares.empty()) info.mean.reset();
  return info;
}

}  // namespace orv::scene
