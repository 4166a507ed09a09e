#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <cstdint>

#include "simd/Float8.h"

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace orv::hdri::blockedAVX2 {

/// Tells the thread sanitizer what oneTBB guarantees and it can not see: what happened before a loop happens
/// before each of its bodies, and these before what comes after it. Bodies are not ordered among themselves,
/// so their races show. Nothing in other builds.
class LoopOrder {
 public:
  LoopOrder() { release(begin_); }
  /// Around each body.
  void enterBody() { acquire(begin_); }
  void leaveBody() { release(end_); }
  /// After the loop, or where the results of bodies are joined.
  void joinBodies() { acquire(end_); }

 private:
#if defined(__SANITIZE_THREAD__)
  static void release(char& tag) { __tsan_release(&tag); }
  static void acquire(char& tag) { __tsan_acquire(&tag); }
#else
  static void release(char&) {}
  static void acquire(char&) {}
#endif
  char begin_ = 0;
  char end_ = 0;
};

/// Runs `body(y)` for y = 0, step, 2 step … below `end`, in parallel; returns when all are done. Bodies write
/// disjoint data. An exception of a body ends the loop and is thrown on.
template <typename Body>
void forEachRow(std::uint32_t end, std::uint32_t step, const Body& body) {
  tbb::task_group_context context;
  const std::uint32_t steps = end / step + (end % step != 0);
  LoopOrder order;
  tbb::parallel_for(
      tbb::blocked_range<std::uint32_t>(0, steps, 1),
      [&](const tbb::blocked_range<std::uint32_t>& range) {
        order.enterBody();
        for (std::uint32_t i = range.begin(); i != range.end(); ++i) body(i * step);
        order.leaveBody();
      },
      tbb::auto_partitioner(), context);
  order.joinBodies();
}

/// Runs `body(y, maximum)` for each row below `end`, in parallel, each task with a lane-wise maximum of its
/// own; they are joined lane by lane. @return the largest lane, at least 0.
template <typename Body>
float maximumOverRows(std::uint32_t end, const Body& body) {
  tbb::task_group_context context;
  LoopOrder order;
  const Float8 lanes = tbb::parallel_reduce(
      tbb::blocked_range<std::uint32_t>(0, end, 1), zero8(),
      [&](const tbb::blocked_range<std::uint32_t>& range, Float8 maximum) {
        order.enterBody();
        for (std::uint32_t y = range.begin(); y != range.end(); ++y) body(y, maximum);
        order.leaveBody();
        return maximum;
      },
      [&](Float8 a, Float8 b) {
        order.joinBodies();
        const Float8 joined = max(a, b);
        order.leaveBody();
        return joined;
      },
      tbb::auto_partitioner(), context);
  order.joinBodies();
  return horizontalMax(lanes);
}

}  // namespace orv::hdri::blockedAVX2
