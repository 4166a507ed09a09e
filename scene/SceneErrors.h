#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv::scene {

/// A file could not be read or written; `what()` is one line that names it.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Everything that is wrong with a scene, one line each: `file: place: finding; what is allowed`.
class SceneErrors : public std::runtime_error {
 public:
  explicit SceneErrors(std::vector<std::string> lines)
      : std::runtime_error(join(lines)), lines_(std::move(lines)) {}

  const std::vector<std::string>& lines() const noexcept { return lines_; }

 private:
  static std::string join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
  }

  std::vector<std::string> lines_;
};

}  // namespace orv::scene
