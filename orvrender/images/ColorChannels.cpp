#include "orvrender/images/ColorChannels.h"

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
int find(const OIIO::ImageSpec& spec, std::string_view layer, std::string_view name) {
  for (std::size_t i = 0; i < spec.channelnames.size(); ++i) {
    const std::string_view channel = spec.channelnames[i];
    if (channel.size() != layer.size() + name.size() || !channel.starts_with(layer)) continue;
    if (equalsIgnoringCase(channel.substr(layer.size()), name)) return static_cast<int>(i);
  }
  return -1;
}

/// Colour of a layer, given as the part of the channel names in front of the last name: "" or "sky.".
std::optional<ColorChannels> channelsOfLayer(const OIIO::ImageSpec& spec, std::string_view layer) {
  ColorChannels found{find(spec, layer, "R"), find(spec, layer, "G"), find(spec, layer, "B"),
                      find(spec, layer, "A")};
  if (found.red < 0 && found.green < 0 && found.blue < 0) {
    const int grey = find(spec, layer, "Y");
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

std::optional<ColorChannels> channelsByName(const OIIO::ImageSpec& spec, bool layers) {
  if (!layers) return channelsOfLayer(spec, "");
  for (const std::string& name : spec.channelnames) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) continue;
    if (const auto found = channelsOfLayer(spec, std::string_view(name).substr(0, dot + 1))) return found;
  }
  return std::nullopt;
}

ColorChannels channelsByPlace(const OIIO::ImageSpec& spec) {
  if (spec.nchannels <= 2) return {0, 0, 0, spec.nchannels == 2 ? 1 : -1};
  const bool hasAlpha = spec.alpha_channel >= 3 && spec.alpha_channel < spec.nchannels;
  return {0, 1, 2, hasAlpha ? spec.alpha_channel : -1};
}

std::string channelList(const OIIO::ImageSpec& spec) {
  constexpr std::size_t kMostNamed = 8;
  std::string list;
  for (std::size_t i = 0; i < spec.channelnames.size() && i < kMostNamed; ++i) {
    if (i > 0) list += ", ";
    list += spec.channelnames[i];
  }
  if (spec.channelnames.size() > kMostNamed) list += ", ...";
  return list;
}

}  // namespace orv::host
