#include "orvrender/files/ColorChannels.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace orv::host {
namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

/// The channel of that layer and name; -1 when there is none.
int find(std::span<const std::string> names, std::string_view layer, std::string_view name) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string_view channel = names[i];
    if (channel.size() != layer.size() + name.size() || !channel.starts_with(layer)) continue;
    if (equalsIgnoringCase(channel.substr(layer.size()), name)) return static_cast<int>(i);
  }
  return -1;
}

/// Colour of a layer, given as the part of the channel names in front of the last name: "" or "sky.".
std::optional<ColorChannels> channelsOfLayer(std::span<const std::string> names, std::string_view layer) {
  ColorChannels found{find(names, layer, "R"), find(names, layer, "G"), find(names, layer, "B"),
                      find(names, layer, "A")};
  if (found.red < 0 && found.green < 0 && found.blue < 0) {
    const int grey = find(names, layer, "Y");
    if (grey < 0) return std::nullopt;
    return ColorChannels{grey, grey, grey, found.alpha};
  }
  // Red alone is a grey image too.
  if (found.green < 0 && found.blue < 0) found.green = found.blue = found.red;
  return found;
}

}  // namespace

int ColorChannels::begin() const {
  int first = -1;
  for (const int channel : {red, green, blue, alpha}) {
    if (channel >= 0 && (first < 0 || channel < first)) first = channel;
  }
  return first;
}

int ColorChannels::end() const { return std::max({red, green, blue, alpha}) + 1; }

std::optional<ColorChannels> channelsByName(std::span<const std::string> names, bool layers) {
  if (!layers) return channelsOfLayer(names, "");
  for (const std::string& name : names) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) continue;
    if (const auto found = channelsOfLayer(names, std::string_view(name).substr(0, dot + 1))) return found;
  }
  return std::nullopt;
}

ColorChannels channelsByPlace(int channels, int alpha) {
  if (channels <= 2) return {0, 0, 0, channels == 2 ? 1 : -1};
  return {0, 1, 2, alpha >= 3 && alpha < channels ? alpha : -1};
}

std::string channelList(std::span<const std::string> names) {
  constexpr std::size_t kMostNamed = 8;
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < kMostNamed; ++i) {
    if (i > 0) list += ", ";
    list += names[i];
  }
  if (names.size() > kMostNamed) list += ", ...";
  return list;
}

}  // namespace orv::host
