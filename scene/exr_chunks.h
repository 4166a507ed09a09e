#pragma once

#include <cstddef>
#include <cstdint>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// The nearest half float of a float (IEEE 754 binary16), ties to even; an infinity from 65520 on.
std::uint16_t toHalf(float value);

/// Rows as OpenEXR files hold them: of each row all blues, then all greens, then all reds.
/// @param pixels `width` x `rows`. @param out as many samples, three a pixel.
void packRows(const hdri::Rgb* pixels, std::size_t width, std::size_t rows, float* out);
/// The same as half floats.
void packRows(const hdri::Rgb* pixels, std::size_t width, std::size_t rows, std::uint16_t* out);

/// What OpenEXR's ZIP deflates: the bytes at even places, then those at odd ones, and of each but the first
/// its difference from the one before, plus 128.
/// @param out `size` bytes, not those of `in`.
void splitAndDifference(const std::uint8_t* in, std::size_t size, std::uint8_t* out);

}  // namespace orv::scene
