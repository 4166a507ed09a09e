#include "scene/ThreadLimit.h"

#include <sched.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstddef>
#include <thread>

namespace orv::scene {

int availableProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof set, &set) == 0) return std::max(CPU_COUNT(&set), 1);
  // More processors than the set can hold.
  return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

namespace {

/// Has oneTBB set itself up. Where there is no memory for that while a limit is set, the limit's end waits
/// for ever; here it is a std::bad_alloc.
std::size_t afterStart(int threads) {
  tbb::parallel_for(0, 1, [](int) {});
  return static_cast<std::size_t>(threads);
}

}  // namespace

ThreadLimit::ThreadLimit(int threads)
    : painting_(tbb::global_control::max_allowed_parallelism, afterStart(threads)) {}

}  // namespace orv::scene
