#pragma once

#include "hdri/Pixel.h"

namespace orv::scene {

/// Temperatures that lights may have, kelvin.
inline constexpr double kLowestTemperature = 1000;
inline constexpr double kHighestTemperature = 40000;

/// The colour of light of a temperature, linear with Rec. 709 primaries, its Rec. 709 luminance 1.
///
/// From 5000 K on it is daylight's (CIE 15, Colorimetry; the formula is given to 25000 K and goes on smoothly
/// to 40000 K), so that 6504 K is white; to 4000 K a black body's (Krystek, "An algorithm to calculate
/// correlated colour temperature", Color Research & Application 10 (1), 1985, within 1e-4 in u and v);
/// between the two, chromaticities x, y are blended linearly. Below about 1900 K, light is more saturated
/// than the primaries: negative blue becomes 0.
/// @param kelvin within the limits above.
hdri::Rgb lightColor(double kelvin);

}  // namespace orv::scene
