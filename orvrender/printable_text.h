#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace orv {

/// Text of a file or a path as one line that a terminal may be sent: control characters (line ends, escapes,
/// those that turn the direction of writing) and bytes that are no UTF-8 are shown as escapes such as `\n`,
/// `\x1b`, `\u009b`. Anything else is left.
inline std::string printableText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto escape = [&out](const char* format, unsigned value) {
    char escaped[16];
    std::snprintf(escaped, sizeof escaped, format, value);
    out += escaped;
  };
  for (std::size_t i = 0; i < text.size();) {
    const auto first = static_cast<unsigned char>(text[i]);
    // How many bytes a character has that begins so; 0: none does.
    const std::size_t length = first < 0x80                     ? 1
                               : first >= 0xC2 && first < 0xE0  ? 2
                               : first >= 0xE0 && first < 0xF0  ? 3
                               : first >= 0xF0 && first <= 0xF4 ? 4
                                                                : 0;
    const std::string_view character = text.substr(i, length);
    const bool isWhole = length > 0 && character.size() == length &&
                         std::all_of(character.begin() + 1, character.end(),
                                     [](char c) { return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u; });
    if (!isWhole) {
      escape("\\x%02x", first);
      ++i;
      continue;
    }
    std::uint32_t code = length == 1 ? first : first & (0x7Fu >> length);
    for (const char c : character.substr(1)) code = code << 6 | (static_cast<unsigned char>(c) & 0x3Fu);
    const bool turns = (code >= 0x200E && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E) ||
                       (code >= 0x2066 && code <= 0x2069);
    if (code == '\n' || code == '\r' || code == '\t')
      out += code == '\n' ? "\\n" : code == '\r' ? "\\r" : "\\t";
    else if (code < 0x20 || code == 0x7F)
      escape("\\x%02x", code);
    else if ((code >= 0x80 && code < 0xA0) || turns)
      escape("\\u%04x", code);
    else
      out += character;
    i += length;
  }
  return out;
}

}  // namespace orv
