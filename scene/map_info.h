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

/// What can be told of a latitude-longitude map in a file.
struct MapInfo : MapLight {
  int width = 0;
  int height = 0;
  host::FileHeader header;
};

/// Measures a map of ours. Values that are not finite make sums that are not finite.
MapLight lightOf(const hdri::EnvImage& map);

/// Reads the map at `path` (UTF-8) through the host's image loader and measures it.
/// @param layout how it lies. @param maxPixels a larger one is refused.
/// @throws FileError when it can not be read, with the host's reason.
MapInfo readMapInfo(const std::string& path, Layout layout = Layout::native,
                    std::uint64_t maxPixels = kMaxPicturePixels);

}  // namespace orv::scene
