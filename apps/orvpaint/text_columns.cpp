#include "text_columns.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "orvrender/printable_text.h"

namespace orvpaint {
namespace {

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};
// After Unicode's EastAsianWidth.txt (W and F) and its combining diacritical marks, by blocks.
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},
                           {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F},
                           {0x1F680, 0x1F6FF}, {0x1F900, 0x1FAFF}, {0x20000, 0x3FFFD}};
constexpr Range kMarks[] = {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200D},
                            {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

template <std::size_t n>
bool isIn(const Range (&ranges)[n], std::uint32_t code) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [code](const Range& range) { return code >= range.first && code <= range.last; });
}

struct Character {
  std::string bytes;
  std::size_t columns;
};

/// The characters of whole UTF-8, marks with what they stand above.
std::vector<Character> charactersOf(const std::string& text) {
  std::vector<Character> characters;
  for (std::size_t i = 0; i < text.size();) {
    const auto first = static_cast<unsigned char>(text[i]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    const std::string bytes = text.substr(i, length);
    std::uint32_t code = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t j = 1; j < bytes.size(); ++j)
      code = code << 6 | (static_cast<unsigned char>(bytes[j]) & 0x3Fu);
    if (isIn(kMarks, code) && !characters.empty())
      characters.back().bytes += bytes;
    else
      characters.push_back({bytes, isIn(kMarks, code) ? 0u : isIn(kWide, code) ? 2u : 1u});
    i += length;
  }
  return characters;
}

std::size_t sum(const std::vector<Character>& characters) {
  std::size_t columns = 0;
  for (const Character& character : characters) columns += character.columns;
  return columns;
}

}  // namespace

std::size_t columnsOf(const std::string& text) { return sum(charactersOf(orv::printableText(text))); }

std::string cutToColumns(const std::string& text, std::size_t columns) {
  std::string printable = orv::printableText(text);
  const std::vector<Character> characters = charactersOf(printable);
  if (sum(characters) <= columns) return printable;
  constexpr std::size_t kDots = 3;
  if (columns <= kDots) return std::string(columns, '.');
  const std::size_t start = (columns - kDots) / 2;
  std::string head;
  std::size_t used = 0;
  for (auto it = characters.begin(); used + it->columns <= start; ++it) {
    head += it->bytes;
    used += it->columns;
  }
  used += kDots;
  std::string tail;
  for (auto it = characters.rbegin(); used + it->columns <= columns; ++it) {
    tail.insert(0, it->bytes);
    used += it->columns;
  }
  return head + "..." + tail;
}

}  // namespace orvpaint
