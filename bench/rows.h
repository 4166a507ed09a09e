#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// What a row's target bounds.
enum class Measure {
  milliseconds,    ///< the time, at most
  nanoseconds,     ///< a block of eight pixels, at most
  timesPeer,       ///< the time over the peer's, at most
  fasterThanPeer,  ///< the peer's time over ours, at least
  moreThanPeer,    ///< the time less the peer's, milliseconds, at most
  timesBytes,      ///< the file's size over the peer's, at most
  megabytes,       ///< the memory at its peak, at most
};

struct Target {
  Measure measure;
  double limit;
};

/// What a benchmark is to readers, and what it is held to.
struct Row {
  std::string_view benchmark;  ///< its name and arguments as Google Benchmark has them
  std::string_view what;
  std::vector<Target> targets;
};

/// The row of a benchmark; null for one that has no target and tells its name.
const Row* findRow(std::string_view benchmark);

}  // namespace bench
