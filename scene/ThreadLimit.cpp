#include "scene/ThreadLimit.h"

#include <sched.h>

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

ThreadLimit::ThreadLimit(int threads)
    : painting_(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads)) {}

}  // namespace orv::scene
