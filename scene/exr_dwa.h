#pragma once

#include "hdri/EnvImage.h"
#include "scene/OutputFile.h"
#include "scene/map_file.h"

namespace orv::scene {

/// Writes a map as an OpenEXR file of the compression "dwaa" or "dwab", with the same header as any other.
/// OpenEXR's core, which writes the others, does not compress these two; its older library does.
/// @throws FileError when the file can not be written.
void writeDwaExr(const hdri::EnvImage& map, OutputFile& file, const MapFileOptions& options);

}  // namespace orv::scene
