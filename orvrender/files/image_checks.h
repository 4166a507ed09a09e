#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvrender/files/FileKind.h"
#include "orvrender/files/Pixels.h"

namespace orv::host {

/// What images a scene takes.
struct ImageLimits {
  std::uint32_t side = 0;    ///< most columns and most rows
  std::uint64_t pixels = 0;  ///< most of both together
};

/// A rectangle of pixels, from (x0, y0) up to but not including (x1, y1).
struct Window {
  std::int64_t x0 = 0;
  std::int64_t y0 = 0;
  std::int64_t x1 = 0;
  std::int64_t y1 = 0;

  std::int64_t width() const { return x1 - x0; }
  std::int64_t height() const { return y1 - y0; }
  bool isEmpty() const { return x1 <= x0 || y1 <= y0; }
};

inline Window intersection(const Window& a, const Window& b) {
  return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

/// `4096 x 2048`, for a message.
std::string sizeText(std::int64_t width, std::int64_t height);

/// Throws ImageError when a window is empty or above the limits. @param what names it, such as "image".
void checkSize(const char* what, const Window& window, const ImageLimits& limits);

/// Throws ImageError when a file is too short for what its header claims, before anything is allocated for
/// it.
/// @param pixelBytes what its pixels take as the format stores them; compression: its name in OpenEXR or
/// TIFF,
///        `none` for bytes as they are. The best that it can do is counted, so that no whole file is refused.
void checkWeight(FileKind kind, std::uint64_t pixelBytes, std::string_view compression,
                 std::uint64_t fileBytes);

/// Throws ImageError: the file is damaged. @param reason a reader's message, of several lines or none.
[[noreturn]] void failToRead(FileKind kind, const std::string& reason);

/// A reader's message as part of a line.
std::string inOneLine(std::string message);

/// Pixels of that size, not initialised. Throws ImageError when there is no memory.
Pixels allocatePixels(const Window& window, bool hasAlpha);

/// Makes pixels black and transparent. Of many, the memory is given back until something is written there.
void blacken(Pixels& pixels);

/// Whether `data` holds all of `map`.
inline bool covers(const Window& data, const Window& map) {
  return data.x0 <= map.x0 && data.y0 <= map.y0 && data.x1 >= map.x1 && data.y1 >= map.y1;
}

}  // namespace orv::host
