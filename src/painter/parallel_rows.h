#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <cstdint>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// Runs `body(y)` for y = 0, step, 2 step … below `end`, in parallel; returns when all are done. Bodies write
/// disjoint data. An exception of a body ends the loop and is thrown on.
template <typename Body>
void forEachRow(std::uint32_t end, std::uint32_t step, const Body& body) {
  tbb::task_group_context context;
  const std::uint32_t steps = end / step + (end % step != 0);
  tbb::parallel_for(
      tbb::blocked_range<std::uint32_t>(0, steps, 1),
      [&](const tbb::blocked_range<std::uint32_t>& range) {
        for (std::uint32_t i = range.begin(); i != range.end(); ++i) body(i * step);
      },
      tbb::auto_partitioner(), context);
}

/// Runs `body(y, maximum)` for each row below `end`, in parallel, each task with a lane-wise maximum of its
/// own; they are joined lane by lane. @return the largest lane, at least 0.
template <typename Body>
float maximumOverRows(std::uint32_t end, const Body& body) {
  tbb::task_group_context context;
  const Float8 lanes = tbb::parallel_reduce(
      tbb::blocked_range<std::uint32_t>(0, end, 1), zero8(),
      [&](const tbb::blocked_range<std::uint32_t>& range, Float8 maximum) {
        for (std::uint32_t y = range.begin(); y != range.end(); ++y) body(y, maximum);
        return maximum;
      },
      [](Float8 a, Float8 b) { return max(a, b); }, tbb::auto_partitioner(), context);
  return horizontalMax(lanes);
}

}  // namespace orv::hdri::blockedAVX2
