#pragma once

#include <cstdint>
#include <string>

#include "host/orvImage.h"
#include "orvrender/files/Pixels.h"
#include "orvrender/files/image_checks.h"

namespace orv::host {

/// An image as read, and how many of its pixels were not finite and were replaced.
struct ReadImage {
  Pixels pixels;
  std::uint64_t replacedPixels = 0;
};

/// Reads an image file: linear colour of the first part that has colour, grey as red, green and blue alike,
/// over the display window (black and transparent where the file holds nothing). NaN becomes 0 and an
/// infinity the largest half float, 65504, of its sign. Throws ImageError.
ReadImage readImage(const std::string& path, orvTexture_profile profile, const ImageLimits& limits);

/// The same of pixels in memory: width x height RGB floats, linear, rows packed from the top. Throws
/// ImageError.
ReadImage copyImage(const float* rgb, std::uint32_t width, std::uint32_t height, const ImageLimits& limits);

}  // namespace orv::host
