#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "scene/SceneErrors.h"

namespace orv::scene {

/// Collects what is wrong with a scene while it is read, to be reported together in the file's order.
class Problems {
 public:
  explicit Problems(std::string fileName) : fileName_(std::move(fileName)) {}

  /// Adds `file: place: finding`. `order` is the place's position in the file.
  void add(std::size_t order, const std::string& place, const std::string& finding) {
    ++count_;
    if (found_.size() < kMostKept) found_.push_back({order, fileName_ + ": " + place + ": " + finding});
  }

  /// Names the file otherwise in what is added from now on.
  void setFileName(std::string fileName) { fileName_ = std::move(fileName); }

  bool empty() const { return count_ == 0; }

  /// @throws SceneErrors when anything was added.
  void throwIfAny() {
    if (empty()) return;
    std::stable_sort(found_.begin(), found_.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> lines;
    lines.reserve(found_.size() + 1);
    for (auto& [order, line] : found_) lines.push_back(std::move(line));
    if (count_ > lines.size())
      lines.push_back(fileName_ + ": scene: " + std::to_string(count_ - lines.size()) +
                      " more errors are not shown");
    throw SceneErrors(std::move(lines));
  }

 private:
  static constexpr std::size_t kMostKept = 200;

  std::string fileName_;
  std::vector<std::pair<std::size_t, std::string>> found_;
  std::size_t count_ = 0;
};

}  // namespace orv::scene
