#pragma once

#include <memory>

namespace orv::scene {

/// The processors that this process may use.
int availableProcessors();

/// Bounds the threads of painting and of image files while it lives, the calling thread included.
class ThreadLimit {
 public:
  /// @param threads at least 1.
  explicit ThreadLimit(int threads);
  ~ThreadLimit();
  ThreadLimit(const ThreadLimit&) = delete;
  ThreadLimit& operator=(const ThreadLimit&) = delete;

 private:
  struct Control;
  std::unique_ptr<Control> control_;
};

}  // namespace orv::scene
