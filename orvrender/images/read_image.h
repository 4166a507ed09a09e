#pragma once

#include <cstdint>
#include <string>

#include "host/orvImage.h"
#include "orvrender/files/Pixels.h"
#include "orvrender/files/image_checks.h"

namespace orv::host {

/// How many pixels of an image were not finite and were replaced.
struct Replaced {
  std::uint64_t pixels = 0;    ///< with either
  std::uint64_t nan = 0;       ///< with a NaN in a channel
  std::uint64_t infinite = 0;  ///< with an infinity in a channel
};

/// An image as read.
struct ReadImage {
  Pixels pixels;
  Replaced replaced;
};

/// Reads an image file: linear colour of the first part that has colour, grey as red, green and blue alike,
/// over the display window (black and transparent where the file holds nothing). NaN becomes 0 and an
/// infinity the largest half float, 65504, of its sign. Throws ImageError.
ReadImage readImage(const std::string& path, orvTexture_profile profile, const ImageLimits& limits);

/// The same of pixels in memory: width x height RGB floats, linear, rows packed from the top. Throws
/// ImageError.
ReadImage copyImage(const float* rgb, std::uint32_t width, std::uint32_t height, const ImageLimits& limits);

}  // namespace orv::host

extern "C" {

/// `readImage` of a latitude-longitude picture, for programs that look at files. Throws ImageError.
void orv_image_read(const std::string& path, const orv::host::ImageLimits& limits,
                    orv::host::ReadImage& image);

}  // extern "C"
