#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "hdri/EnvImage.h"
#include "orvrender/images/ImageModule.h"
#include "scene/HostPicture.h"
#include "scene/SceneErrors.h"
#include "scene/scene_names.h"

namespace orv::scene {

/// The light of a latitude-longitude map.
struct MapLight {
  std::array<double, 3> mean{};   ///< of red, green and blue over the sphere, by solid angle
  double brightest = 0;           ///< largest Rec. 709 luminance
  double brightestLongitude = 0;  ///< of the brightest pixel's centre, degrees
  double brightestLatitude = 0;
};

/// More of a map's light.
struct MapFigures {
  std::array<double, 3> least{};  ///< of red, green and blue
  std::array<double, 3> most{};
  /// Of surfaces that face +X, -X, +Y, -Y, +Z, -Z: the integral of radiance times the cosine, where that is
  /// positive, over the sphere. +X is the middle of the map, +Y lies a quarter turn to the right, +Z is up.
  std::array<std::array<double, 3>, 6> irradiance{};
  double brightestShare =
      0;             ///< of the luminance over the sphere, what lies within 5 degrees of the brightest
  double stops = 0;  ///< base 2 logarithm of the largest luminance over the smallest above 0
  std::uint64_t negative = 0;  ///< pixels with a channel below 0
};

/// What can be told of a latitude-longitude map in a file.
struct MapInfo : MapLight, MapFigures {
  int width = 0;
  int height = 0;
  host::FileHeader header;
  std::uint64_t nan = 0;       ///< pixels with a NaN, which counts as 0
  std::uint64_t infinite = 0;  ///< pixels with an infinity, which counts as 65504
};

/// Measures a map of ours. Values that are not finite make sums that are not finite.
MapLight lightOf(const hdri::EnvImage& map);

/// The figures of a map in a layout. Each pixel is the same all over the solid angle that it covers, which
/// is integrated exactly.
/// @param pixels the first of width x height, three finite floats each. @param light the map's.
MapFigures figuresOf(const float* pixels, int width, int height, Layout layout, const MapLight& light);

/// Reads the map at `path` (UTF-8) as the host's image loader does and measures it.
/// @param layout how it lies. @param maxPixels a larger one is refused.
/// @throws FileError when it can not be read, with the host's reason.
MapInfo readMapInfo(const std::string& path, Layout layout = Layout::native,
                    std::uint64_t maxPixels = kMaxPicturePixels);

}  // namespace orv::scene
