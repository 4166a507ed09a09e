#pragma once

#include <cstdint>

#include "maps/row_loop.h"

namespace orv::host {

/// Runs `body(y)` for y = 0 to `rows` - 1: in parallel where `pixels` are enough to be worth waking threads.
template <typename Body>
void forEachImageRow(std::uint32_t rows, std::uint64_t pixels, const Body& body) {
  constexpr std::uint64_t kWorthwhile = 32768;
  if (pixels >= kWorthwhile) {
    forEachRow(rows, 1, body);
  } else {
    for (std::uint32_t y = 0; y < rows; ++y) body(y);
  }
}

}  // namespace orv::host
