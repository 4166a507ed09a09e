#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <cstdint>

#include "maps/StopCheck.h"

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

// The parallel loops over rows, for the painter and for hosts. Each has a context of its own, which a host's
// cancelled task group does not reach, so that all rows are run unless the thread's StopCheck says that they
// are not wanted, which ends the loop with LoopStopped. A body is isolated: while it waits inside
// oneTBB, in an operation of the host say, its thread runs no other row of the loop, so that what belongs to
// a thread belongs to a row while it is painted.
namespace orv {

/// Tells the thread sanitizer what oneTBB guarantees and it can not see: what happened before a loop happens
/// before each of its bodies, and these before what comes after it. Bodies are not ordered among themselves,
/// so their races show. Nothing in other builds. The tags are static because a body can not read even its
/// captures before it has entered.
class LoopOrder {
 public:
  /// From before the loop (after its body was made) until after it.
  LoopOrder() { release(begin_); }
  ~LoopOrder() { acquire(end_); }
  LoopOrder(const LoopOrder&) = delete;
  LoopOrder& operator=(const LoopOrder&) = delete;

  /// Around each body.
  struct Body {
    Body() { acquire(begin_); }
    ~Body() { release(end_); }
    Body(const Body&) = delete;
    Body& operator=(const Body&) = delete;
  };
  /// Where the results of bodies are joined.
  struct Join {
    Join() { acquire(end_); }
    ~Join() { release(end_); }
    Join(const Join&) = delete;
    Join& operator=(const Join&) = delete;
  };

 private:
#if defined(__SANITIZE_THREAD__)
  static void release(char& tag) { __tsan_release(&tag); }
  static void acquire(char& tag) { __tsan_acquire(&tag); }
#else
  static void release(char&) {}
  static void acquire(char&) {}
#endif
  static inline char begin_ = 0;
  static inline char end_ = 0;
};

/// Runs `body(y)` for y = 0, step, 2 step … below `end`, in parallel; returns when all are done. Bodies write
/// disjoint data. An exception of a body ends the loop and is thrown on.
template <typename Body>
void forEachRow(std::uint32_t end, std::uint32_t step, const Body& body) {
  tbb::task_group_context context(tbb::task_group_context::isolated);
  const StopCheck* const check = StopCheck::current();
  const auto run = [&](std::uint32_t y) {
    const LoopOrder::Body order;
    StopCheck::ask(check);
    tbb::this_task_arena::isolate([&] { body(y); });
  };
  const LoopOrder order;
  tbb::parallel_for(std::uint32_t{0}, end, step, run, tbb::auto_partitioner(), context);
}

/// Runs `body(y, value)` for each row below `end`, in parallel, each task with a value of its own that begins
/// as `start`; the values are joined two by two. @return what all rows make.
template <typename Value, typename Body, typename Join>
Value reduceOverRows(std::uint32_t end, const Value& start, const Body& body, const Join& join) {
  tbb::task_group_context context(tbb::task_group_context::isolated);
  const StopCheck* const check = StopCheck::current();
  const auto run = [&](const tbb::blocked_range<std::uint32_t>& range, Value value) {
    const LoopOrder::Body order;
    tbb::this_task_arena::isolate([&] {
      for (std::uint32_t y = range.begin(); y != range.end(); ++y) {
        StopCheck::ask(check);
        body(y, value);
      }
    });
    return value;
  };
  const auto joinInOrder = [&](const Value& a, const Value& b) {
    const LoopOrder::Join order;
    return join(a, b);
  };
  const LoopOrder order;
  return tbb::parallel_reduce(tbb::blocked_range<std::uint32_t>(0, end, 1), start, run, joinInOrder,
                              tbb::auto_partitioner(), context);
}

}  // namespace orv
