#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "scene/Scene.h"

namespace orv::scene {

/// A picture that a scene shows or takes its size from.
struct PictureInfo {
  std::string place;  ///< of its path in the scene: `pins[2].fill.path`
  std::string path;   ///< of the file, seen from the working directory
  bool found = false;
  int width = 0;  ///< 0 when it is not there or can not be read
  int height = 0;
  std::string error = {};  ///< why it can not be read; empty when it can, or is not there
};

/// Where the sun of a sky stands on the map: longitude and latitude, degrees, with the background's rotation.
struct SunInfo {
  double azimuth = 0;
  double elevation = 0;
};

struct PinInfo {
  double solidAngle = 0;             ///< inside its outline, steradians
  std::optional<double> share = {};  ///< of the map's light that it adds; below 0 where it takes light away
};

/// What can be told of a scene beyond what it says itself. Light is mean luminance over the sphere.
struct SceneInfo {
  std::optional<MapSize> size = {};  ///< none where the picture that gives it can not be read
  std::vector<PictureInfo> pictures;
  std::optional<SunInfo> sun = {};
  std::vector<PinInfo> pins;                       ///< of the scene's pins, those that are not enabled too
  std::optional<std::array<double, 3>> mean = {};  ///< of the map, red, green and blue
  std::optional<double> backgroundShare = {};      ///< of the map's light
  std::string withoutShares = {};                  ///< why there are no shares, one line; empty: there are

  /// Whether all pictures are there and can be read.
  bool complete() const;
};

/// Looks at a scene's pictures and paints it in small, without pins and with one more after the other, to see
/// what light each adds.
/// @param folder the scene file's. @param painter the painter's library; empty: where it is found. Nothing is
///        thrown when there is none: there are no shares then.
SceneInfo describeScene(const Scene& scene, const std::string& folder, const std::string& painter = {});

}  // namespace orv::scene
