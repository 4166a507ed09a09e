#pragma once

#include <optional>
#include <span>
#include <string>

namespace orv::host {

/// Where the colour of an image lies among its channels. A channel of -1 is missing and reads as 0 (alpha:
/// 1).
struct ColorChannels {
  int red = -1;
  int green = -1;
  int blue = -1;
  int alpha = -1;

  /// The channels to read: from `begin` up to but not including `end`.
  int begin() const;
  int end() const;
  /// Whether red, green and blue are next to each other, in this order.
  bool areConsecutive() const { return green == red + 1 && blue == red + 2; }
};

/// Colour channels by their names: R, G, B (A), or Y for grey, in any order; of layered names ("sky.R") those
/// of the first layer that has colour. None when there is no colour.
/// @param layers whether layered names count.
std::optional<ColorChannels> channelsByName(std::span<const std::string> names, bool layers);

/// Colour channels by their place: grey, grey and alpha, or colour first; for files without channel names.
/// @param alpha the channel that the file says is alpha; it counts behind colour. -1: none.
ColorChannels channelsByPlace(int channels, int alpha);

/// The names of the channels for a message, such as "Z, N.X, N.Y".
std::string channelList(std::span<const std::string> names);

}  // namespace orv::host
