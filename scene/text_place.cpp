#include "scene/text_place.h"

#include <algorithm>
#include <utility>

#include "orvrender/printable_text.h"

namespace orv::scene {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCut = "...";

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u; }

std::size_t charactersOf(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continues));
}

/// What is shown of a piece of a line. A tab is one space, so that what stands below stays below.
std::string shown(std::string_view piece) {
  std::string text(piece);
  std::replace(text.begin(), text.end(), '\t', ' ');
  return printableText(text);
}

/// Where the character before `end` begins.
std::size_t characterBefore(std::string_view text, std::size_t end) {
  std::size_t begin = end - 1;
  while (begin > 0 && end - begin < 4 && continues(text[begin])) --begin;
  return begin;
}

/// Where the character at `begin` ends.
std::size_t characterAfter(std::string_view text, std::size_t begin) {
  std::size_t end = begin + 1;
  while (end < text.size() && end - begin < 4 && continues(text[end])) ++end;
  return end;
}

/// Shows a line around the byte `at`.
void show(std::string_view line, std::size_t at, TextPlace& place) {
  constexpr std::size_t kWidest = 90;
  constexpr std::size_t kLeast = 50;  // before the place, where the line is cut behind it
  const auto grow = [&](std::size_t width, std::size_t most, std::string_view character) {
    const std::size_t grown = width + charactersOf(shown(character));
    return grown <= most ? grown : 0;
  };
  // As much as follows, then as much as fits before it, then what follows again in the room that is left.
  const auto follow = [&](std::size_t most, std::size_t& width) {
    std::size_t end = at;
    width = 0;
    while (end < line.size()) {
      const std::size_t next = characterAfter(line, end);
      const std::size_t grown = grow(width, most, line.substr(end, next - end));
      if (grown == 0) break;
      width = grown;
      end = next;
    }
    return end;
  };
  std::size_t after = 0;
  follow(kWidest, after);
  std::size_t begin = at;
  std::size_t before = 0;
  while (begin > 0) {
    const std::size_t next = characterBefore(line, begin);
    const std::size_t grown =
        grow(before, std::max(kLeast, kWidest - std::min(after, kWidest)), line.substr(next, begin - next));
    if (grown == 0) break;
    before = grown;
    begin = next;
  }
  const std::size_t end = follow(kWidest - before, after);
  const std::string_view cut = begin > 0 ? kCut : std::string_view();
  place.source.append(cut).append(shown(line.substr(begin, end - begin)));
  if (end < line.size()) place.source += kCut;
  place.mark.assign(cut.size() + before, ' ');
  place.mark += '^';
}

}  // namespace

PlaceFinder::PlaceFinder(std::string_view text) : text_(text) {
  if (text_.starts_with(kByteOrderMark)) at_ = lineStart_ = kByteOrderMark.size();
}

TextPlace PlaceFinder::at(std::size_t offset) {
  offset = std::min(offset, text_.size());
  if (offset < at_) *this = PlaceFinder(text_);
  for (; at_ < offset; ++at_) {
    if (text_[at_] == '\n') {
      ++line_;
      column_ = 1;
      lineStart_ = at_ + 1;
    } else if (!continues(text_[at_])) {
      ++column_;
    }
  }
  TextPlace place{line_, column_, {}, {}};
  std::string_view line = text_.substr(lineStart_);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  show(line, std::min(at_ - lineStart_, line.size()), place);
  return place;
}

void place(Problem& problem, TextPlace place) {
  problem.line = place.line;
  problem.column = place.column;
  problem.source = std::move(place.source);
  problem.mark = std::move(place.mark);
}

}  // namespace orv::scene
