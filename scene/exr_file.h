#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "hdri/EnvImage.h"
#include "scene/OutputFile.h"
#include "scene/map_file.h"

namespace orv::scene {

/// Rec. 709 primaries (red, green, blue) and D65, x and y each.
inline constexpr std::array<float, 8> kChromaticities = {0.64f, 0.33f, 0.30f,   0.60f,
                                                         0.15f, 0.06f, 0.3127f, 0.3290f};

/// What the header says in words: how the map lies, and the software that wrote it.
std::vector<std::pair<std::string, std::string>> textAttributes(const MapFileOptions& options);

/// Writes a map as an OpenEXR file of scan lines with the channels R, G and B, floats or halves. Chunks are
/// packed and compressed by as many threads as oneTBB may use; the bytes do not depend on how many.
/// @throws FileError when the file can not be written.
void writeExr(const hdri::EnvImage& map, OutputFile& file, const MapFileOptions& options);

}  // namespace orv::scene
