#pragma once

#include <string>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// Part of the light that the sheet's diffuse ball reflects.
inline constexpr float kDiffuseAlbedo = 0.5f;
/// Exponent of the lobe about the mirrored direction in which its glossy ball reflects; half as bright 8
/// degrees away.
inline constexpr int kGlossyExponent = 64;

struct SheetOptions {
  std::string name = {};       ///< of the map, for the caption
  float exposureStops = 0;     ///< of the map and of the balls
  bool automatic = false;      ///< the exposure was chosen automatically: the caption says so
  double cameraAzimuth = 180;  ///< longitude of the map along which the camera looks at the balls, degrees
};

/// A map and what its light does: the map above, below it a mirror ball, a grey diffuse ball and a glossy
/// ball lit by it, on a dark neutral ground that the map does not light, and a caption with size, mean and
/// largest luminance and exposure. All are exposed and tone-mapped alike.
/// @return a picture of 1024 x 900 display-linear pixels, 0 to 1.
/// @throws std::bad_alloc.
hdri::EnvImage previewSheet(const hdri::EnvImage& map, const SheetOptions& options);

}  // namespace orv::scene
