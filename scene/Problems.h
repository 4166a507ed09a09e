#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "scene/SceneErrors.h"

namespace orv::scene {

/// Collects what is wrong with a scene while it is read, to be reported together in the file's order.
class Problems {
 public:
  explicit Problems(std::string fileName) : fileName_(std::move(fileName)) {}

  /// @param offset where it stands, as of a JsonValue. @param path of the value; empty: there is none.
  void add(std::uint32_t offset, std::string path, std::string text) {
    ++count_;
    if (found_.size() < kMostKept) found_.push_back({offset, std::move(path), std::move(text)});
  }

  /// What findings are about, besides the file, from now on: `frame 3`.
  void setCause(std::string cause) { cause_ = std::move(cause); }

  bool empty() const { return count_ == 0; }

  /// What was added, in the file's order, with lines and columns.
  /// @param text that offsets are of; empty: there are no places. @param settings the paths of those that put
  ///        values into the document, by their numbers.
  std::vector<Problem> told(std::string_view text, std::span<const std::string> settings = {}) const;

  /// @throws SceneErrors when anything was added.
  void throwIfAny(std::string_view text) const {
    if (!empty()) throw SceneErrors(told(text));
  }

 private:
  static constexpr std::size_t kMostKept = 200;

  struct Found {
    std::uint32_t offset;
    std::string path;
    std::string text;
  };

  std::string fileName_;
  std::string cause_;
  std::vector<Found> found_;
  std::size_t count_ = 0;
};

}  // namespace orv::scene
