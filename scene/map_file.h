#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hdri/EnvImage.h"
#include "scene/OutputFile.h"
#include "scene/clamp_map.h"
#include "scene/scene_names.h"

namespace orv::scene {

/// A file format that a map is written in. A format is one row of the table in map_file.cpp.
struct MapFormat {
  std::string_view name;                    ///< as messages give it
  std::array<std::string_view, 2> endings;  ///< the first is the usual one; the second may be empty
  const char* plugin = nullptr;             ///< OpenImageIO's name of it; null: written by a writer of ours
  bool preview = false;                     ///< tone-mapped, 8 bits; else linear 32-bit floats
  int quality = 0;                          ///< of a lossy preview, to 100; 0: not asked for
  std::span<const std::string_view> compressions = {};  ///< to choose from, zip by default; empty: no choice
  int maxSide = std::numeric_limits<int>::max();        ///< pixels
  bool holdsHalves = false;                             ///< on request
  bool datesFiles = false;                              ///< its writer notes the time when it is not told one

  bool knows(std::string_view compression) const;
};

struct MapFileOptions {
  std::string compression = {};     ///< one that the format knows; empty takes ZIP
  bool half = false;                ///< EXR: 16-bit floats
  std::optional<float> limit = {};  ///< channels are limited to -limit .. limit, those of halves to 65504
  float exposureStops = 0;          ///< of previews
  Layout layout = Layout::native;   ///< how the map lies; EXR headers tell it
  std::string software = {};        ///< name and version of the program, for the file's header
  std::function<void(float)> progress = {};  ///< hears of the amount done, 0 to 1; may be empty
};

/// All formats, in the order in which they are listed.
std::span<const MapFormat> mapFormats();

/// The format that the ending of `path` names, in any letter case; `otherwise` where it names none.
const MapFormat* mapFormatOf(std::string_view path, const MapFormat* otherwise = nullptr);

/// The endings that name a format: ".exr", ".hdr" and so on.
std::vector<std::string_view> mapEndings();

/// Writes a map into `file` and finishes it; the caller commits. EXR files carry `orv:projection`
/// ("latlong"), `orv:orientation`, Rec. 709 `chromaticities` and the software's name; the `envmap` attribute,
/// which stands for a map with y up and samples on the edges, only where that is true (isOpenExrEnvmap).
/// A NaN is written as one; previews show it as black.
/// @return what was lost by limiting values.
/// @throws FileError when the file can not be written or the format can not hold the map.
ClampLoss writeMap(const hdri::EnvImage& map, OutputFile& file, const MapFormat& format,
                   const MapFileOptions& options);

/// The limit on the values of a file: the options', and that of halves; none for a file that keeps all
/// values.
std::optional<float> limitOf(const MapFormat& format, const MapFileOptions& options);

/// Writes a picture in a format of previews and finishes the file; the caller commits.
/// @param bytes width x height x 3, sRGB, row 0 at the top.
/// @throws FileError when the file can not be written or the format can not hold the picture.
void writePreview(const std::vector<std::uint8_t>& bytes, int width, int height, OutputFile& file,
                  const MapFormat& format, const MapFileOptions& options);

}  // namespace orv::scene
