#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "scene/SceneErrors.h"

namespace orv::scene {

/// A place in a text, as people are shown it.
struct TextPlace {
  std::size_t line = 1;    ///< from 1
  std::size_t column = 1;  ///< in characters, from 1
  std::string source;  ///< the line, cut around the place to some 90 characters; others than printable ones
                       ///< as escapes
  std::string mark;    ///< spaces and a ^ below the place
};

/// Finds places in a text; in ascending order all of them together take one walk through it.
class PlaceFinder {
 public:
  /// @param text UTF-8, or nearly so; must outlive the finder. A byte order mark is no character of it.
  explicit PlaceFinder(std::string_view text);

  /// @param offset of a byte; beyond the end it counts as the end.
  TextPlace at(std::size_t offset);

 private:
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lineStart_ = 0;
  std::size_t line_ = 1;
  std::size_t column_ = 1;
};

/// Gives a problem its place.
void place(Problem& problem, TextPlace place);

}  // namespace orv::scene
