#pragma once

#include <cstdint>
#include <vector>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// A map as a picture for screens: exposed by 2^`stops`, a filmic curve (Narkowicz, "ACES Filmic Tone Mapping
/// Curve", 2016), sRGB-encoded (IEC 61966-2-1), rounded to 8 bits. Not a number counts as black.
/// @return width x height x 3 bytes, row 0 at the top.
std::vector<std::uint8_t> toneMap(const hdri::EnvImage& map, float stops);

/// The tone-mapped and encoded value of one channel, 0 to 255.
std::uint8_t toneMapped(float linear, float gain);

}  // namespace orv::scene
