#pragma once

#include <optional>
#include <string>

#include "orvrender/files/FilePixels.h"
#include "orvrender/files/image_checks.h"

namespace orv::host {

/// Reads an OpenEXR file: the colour of its channels R, G, B and A, or Y for grey, or of its first layer that
/// has colour, over the display window, black where the file holds nothing. Chunks are decoded in parallel.
/// @return none for a file that takes OpenImageIO: of several parts, tiled, deep, with chroma channels or
///         sampled ones, with colour in integers, or with a header that OpenEXR's core does not take.
/// Throws ImageError.
std::optional<FilePixels> readExr(const std::string& path, const ImageLimits& limits);

/// The header of an OpenEXR file; none for a file that takes OpenImageIO.
std::optional<FileHeader> describeExr(const std::string& path);

}  // namespace orv::host
