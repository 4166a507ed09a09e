#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// The tone curve of previews, from scene-linear light to what a screen shows, linear, 0 to 1: that of
/// "Khronos PBR Neutral" (Khronos Group, 2024) without its black level, which stands for what surfaces mirror
/// and has no place in light. A pixel whose largest channel is at most 0.8 stays as it is; beyond, the
/// largest channel approaches 1 and the pixel fades to white. Scaling a pixel and mixing it with white do not
/// turn its hue. Values that are no numbers or negative count as 0.
hdri::Rgb toneCurve(const hdri::Rgb& light);

/// The sRGB encoding (IEC 61966-2-1) of a linear value from 0 to 1.
float encoded(float linear);

/// An encoded value from 0 to 1 in 8 bits: rounded up or down by an ordered dither (Bayer, "An optimum method
/// for two-level rendition of continuous-tone pictures", 1973) of 8 x 8 pixels, whose thresholds spread
/// evenly over one step, so that an even tone keeps its mean.
std::uint8_t dithered(float value, std::size_t x, std::size_t y);

/// A picture of display-linear pixels, 0 to 1, encoded and dithered.
/// @return width x height x 3 bytes, row 0 at the top.
std::vector<std::uint8_t> encodePicture(const hdri::EnvImage& picture);

/// A map as a picture for screens: exposed by 2^`stops`, the tone curve, encoded and dithered.
/// @return width x height x 3 bytes, row 0 at the top.
std::vector<std::uint8_t> toneMap(const hdri::EnvImage& map, float stops);

}  // namespace orv::scene
