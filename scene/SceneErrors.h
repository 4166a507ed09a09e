#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace orv::scene {

/// A file could not be read or written; `what()` is one line that names it.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Something that is wrong with a scene, and where.
struct Problem {
  std::string file;         ///< what messages call it; empty: they do not name it
  std::string path;         ///< of the value: `pins[2].radius`, or `scene`; empty for text that is no JSON
  std::string text;         ///< what was found and what is allowed, one line
  std::size_t line = 0;     ///< of the file, from 1; 0 where the problem is none of the file's text
  std::size_t column = 0;   ///< in characters, from 1; 0 where there is no line
  std::string pin = {};     ///< the name of the pin that the path leads into; empty: none
  std::string cause = {};   ///< `frame 3`, or the setting that the value comes from; empty: none
  std::string source = {};  ///< the line, cut around the place, in characters that a terminal may be sent
  std::string mark = {};    ///< spaces and a ^ that stands under the place when `source` is above it

  /// `file:line:column: cause: path: text` of what there is of it.
  std::string finding() const;

  /// What people are shown: the finding, and where there is one the line of the file and the mark.
  std::vector<std::string> lines() const;
};

/// Everything that is wrong with a scene, in the file's order. `what()` is a finding a line.
class SceneErrors : public std::runtime_error {
 public:
  explicit SceneErrors(std::vector<Problem> problems);

  const std::vector<Problem>& problems() const noexcept { return problems_; }

  /// What people are shown of all of them.
  const std::vector<std::string>& lines() const noexcept { return lines_; }

 private:
  std::vector<Problem> problems_;
  std::vector<std::string> lines_;
};

}  // namespace orv::scene
