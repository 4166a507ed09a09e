#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "scene/Job.h"
#include "scene/Setting.h"

namespace orv::scene {

/// A place in a document and the values that it takes one after another.
struct Sweep {
  std::string path;
  std::vector<JsonValue> values;
};

/// How many values a sweep, and how many maps a call has at most.
inline constexpr std::size_t kMostMaps = 1'000'000;

/// Reads `PATH=FROM:TO[:STEP]` (both ends count; the step is 1 towards TO by default) or `PATH=a,b,c`, values
/// as those of settings; commas in brackets and quotes separate nothing. @throws SettingError.
Sweep parseSweep(std::string_view text);

/// Reads `FROM-TO`, `FROM-TOxSTEP` or one frame; several after commas. @throws SettingError.
std::vector<double> parseFrames(std::string_view text);

/// Each of the jobs once for every combination of the sweeps' values and the frames: frames change fastest,
/// then the last sweep. @throws SettingError when these are more than `kMostMaps`.
std::vector<Job> multiply(const std::vector<Job>& jobs, const std::vector<Sweep>& sweeps,
                          const std::vector<double>& frames);

}  // namespace orv::scene
