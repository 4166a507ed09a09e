#pragma once

#include <cstdint>
#include <cstring>

#include "maps/BlockedMap.h"
#include "support/reference/adjustments.h"

/// Maps between the painter's layout and the reference's, and what tests fill them with.
namespace orv::hdri::blockedAVX2 {

/// A map of `color(x, y)`, an RGB triple of floats or doubles; padding lanes go on from the row's start.
BlockedMap mapOf(std::uint32_t width, std::uint32_t height, const auto& color) {
  BlockedMap map(width, height);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < map.paddedWidth(); ++x) {
      const auto pixel = color(static_cast<int>(x % width), static_cast<int>(y));
      Block& block = map.row(y)[x / 8];
      block.r[x % 8] = static_cast<float>(pixel[0]);
      block.g[x % 8] = static_cast<float>(pixel[1]);
      block.b[x % 8] = static_cast<float>(pixel[2]);
    }
  return map;
}

/// Repeatable values in [0, 1), different for each channel.
inline reference::Color noise(int x, int y) {
  reference::Color out;
  for (unsigned i = 0; i < 3; ++i) {
    unsigned h =
        static_cast<unsigned>(x) * 374761393u + static_cast<unsigned>(y) * 668265263u + i * 2246822519u;
    h = (h ^ (h >> 13)) * 1274126177u;
    out[i] = static_cast<double>((h ^ (h >> 16)) >> 8) / (1 << 24);
  }
  return out;
}

inline reference::Color pixelOf(const BlockedMap& map, int x, int y) {
  const Block& block = map.row(static_cast<std::uint32_t>(y))[static_cast<std::size_t>(x) / 8];
  return {block.r[x % 8], block.g[x % 8], block.b[x % 8]};
}

inline reference::Map referenceOf(const BlockedMap& map) {
  reference::Map out{static_cast<int>(map.width()), static_cast<int>(map.height()), {}};
  for (int y = 0; y < out.height; ++y)
    for (int x = 0; x < out.width; ++x) out.pixels.push_back(pixelOf(map, x, y));
  return out;
}

inline bool sameBytes(const BlockedMap& a, const BlockedMap& b) {
  return a.width() == b.width() && a.height() == b.height() &&
         std::memcmp(a.data(), b.data(), a.bytes()) == 0;
}

/// Whether every padding lane holds the row again from its start.
inline bool paddingRepeatsTheRow(const BlockedMap& map) {
  const int width = static_cast<int>(map.width());
  for (int y = 0; y < static_cast<int>(map.height()); ++y)
    for (int x = width; x < static_cast<int>(map.paddedWidth()); ++x)
      if (pixelOf(map, x, y) != pixelOf(map, x % width, y)) return false;
  return true;
}

}  // namespace orv::hdri::blockedAVX2
