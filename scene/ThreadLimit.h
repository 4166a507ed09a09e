#pragma once

#include <tbb/global_control.h>

namespace orv::scene {

/// The processors that this process may use.
int availableProcessors();

/// Bounds the threads of painting and of image files while it lives, the calling thread included.
class ThreadLimit {
 public:
  /// @param threads at least 1. @throws std::bad_alloc
  explicit ThreadLimit(int threads);

 private:
  tbb::global_control painting_;
};

}  // namespace orv::scene
