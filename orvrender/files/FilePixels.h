#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "orvrender/files/Pixels.h"

namespace orv::host {

/// The pixels of a file before they are checked: not finite or above 1 in alpha, colour perhaps straight.
struct FilePixels {
  Pixels pixels;
  bool isStraight = false;  ///< colour is not associated with alpha yet
  int orientation = 1;      ///< as Exif numbers it: how the pixels have to be turned
  /// The rows that the file holds, from the first to the one behind the last; all others are black.
  std::uint32_t firstRow = 0;
  std::uint32_t endRow = std::numeric_limits<std::uint32_t>::max();
};

/// What a file's header says of it.
struct FileHeader {
  int width = 0;  ///< of the picture as it is read, upright
  int height = 0;
  int channels = 0;
  std::string format;       ///< the file format's name
  std::string pixelType;    ///< as stored: half, float, uint8
  std::string compression;  ///< empty when the file does not name one
  std::string software;     ///< what wrote the file, if it says so
  std::string orientation;  ///< `orv:orientation`, if the file has it
};

}  // namespace orv::host
