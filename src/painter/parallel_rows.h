#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <cstdint>

#include "host/row_loop.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

using orv::forEachRow;
using orv::LoopOrder;

/// Runs `body(y, maximum)` for each row below `end`, in parallel, each task with a lane-wise maximum of its
/// own; they are joined lane by lane. @return the largest lane, at least 0.
template <typename Body>
float maximumOverRows(std::uint32_t end, const Body& body) {
  tbb::task_group_context context;
  const auto run = [&](const tbb::blocked_range<std::uint32_t>& range, Float8 maximum) {
    const LoopOrder::Body order;
    for (std::uint32_t y = range.begin(); y != range.end(); ++y) body(y, maximum);
    return maximum;
  };
  const auto join = [](Float8 a, Float8 b) {
    const LoopOrder::Join order;
    return max(a, b);
  };
  const LoopOrder order;
  return horizontalMax(tbb::parallel_reduce(tbb::blocked_range<std::uint32_t>(0, end, 1), zero8(), run, join,
                                            tbb::auto_partitioner(), context));
}

}  // namespace orv::hdri::blockedAVX2
