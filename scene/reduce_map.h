#pragma once

#include "hdri/EnvImage.h"

namespace orv::scene {

/// A map with at most `width` x `height` pixels, each the mean over the solid angle that it covers; a side
/// that is shorter stays as it is. Light over the sphere is kept. Values that are not finite or negative
/// count as 0.
hdri::EnvImage reduceMap(const hdri::EnvImage& map, int width, int height);

/// The exposure that shows a map well, in stops: the log-average luminance over the sphere becomes 0.18
/// (Reinhard et al., "Photographic Tone Reproduction for Digital Images", 2002), without the brightest 0.5 %
/// of the solid angle, where the sun or a lamp may stand. The luminance (Rec. 709) is that of the map reduced
/// to 256 x 128, so that maps of any size give the same, and is taken as a hundredth of its mean at least, so
/// that black surroundings do not decide. 0 for a map that is black.
float autoExposure(const hdri::EnvImage& map);

/// Rec. 709 luminance.
inline double luminance(const hdri::Rgb& pixel) {
  return 0.2126 * static_cast<double>(pixel.r) + 0.7152 * static_cast<double>(pixel.g) +
         0.0722 * static_cast<double>(pixel.b);
}

}  // namespace orv::scene
