#pragma once

#include <cstdlib>

namespace sweeps {

/// The count for `./dev soak` where that runs (ORVHDRI_SOAK is set), else the one for every submission.
inline int rounds(int everyDay, int soak) { return std::getenv("ORVHDRI_SOAK") ? soak : everyDay; }

}  // namespace sweeps
