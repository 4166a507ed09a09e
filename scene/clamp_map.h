#pragma once

#include <cstdint>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// The largest 16-bit float.
inline constexpr float kLargestHalf = 65504;

/// What a limit on the values of a map takes away.
struct ClampLoss {
  std::int64_t pixels = 0;  ///< with a channel beyond the limit, above or below zero
  float largest = 0;        ///< largest magnitude among them, perhaps infinite; 0 without any
  double lightShare =
      0;  ///< light lost over all light: positive values of all channels by solid angle, 0 to 1
};

/// What limiting the channels of `map` to -`limit` .. `limit` would take away. A NaN is neither counted nor
/// light. The result does not depend on the number of threads.
ClampLoss clampLoss(const hdri::EnvImage& map, float limit);

/// The map with every channel limited to -`limit` .. `limit`; a NaN stays one.
/// @throws std::bad_alloc.
hdri::EnvImage clamped(const hdri::EnvImage& map, float limit);

}  // namespace orv::scene
