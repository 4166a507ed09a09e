#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "hdri/EnvImage.h"
#include "scene/OutputFile.h"

namespace orv::scene {

/// File formats that a map is written in. PNG and JPEG are tone-mapped previews, the others hold 32-bit
/// floats (Radiance HDR a shared exponent).
enum class MapFormat { exr, hdr, pfm, tiff, png, jpeg };

struct MapFileOptions {
  std::string compression = {};              ///< of EXR and TIFF; empty takes ZIP
  float exposureStops = 0;                   ///< of previews
  std::string software = {};                 ///< name and version of the program, for the file's header
  std::function<void(float)> progress = {};  ///< hears of the amount done, 0 to 1; may be empty
};

/// The format that the ending of `path` names, in any letter case.
std::optional<MapFormat> mapFormatOf(std::string_view path);

/// The endings that name a format: ".exr", ".hdr" and so on.
std::span<const std::string_view> mapEndings();

/// The compressions that a format knows; none for one that has no choice.
std::span<const std::string_view> mapCompressions(MapFormat format);

/// Writes a map into `file` and finishes it; the caller commits. EXR files carry `orv:projection`
/// ("latlong"), `orv:orientation`, Rec. 709 `chromaticities` and the software's name, and no `envmap`
/// attribute: that one stands for a map with y up and samples on the edges.
/// @throws FileError when the file can not be written or the format can not hold the map.
void writeMap(const hdri::EnvImage& map, OutputFile& file, MapFormat format, const MapFileOptions& options);

}  // namespace orv::scene
