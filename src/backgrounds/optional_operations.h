#pragma once

#include "host/orvPaint.h"

namespace orv::hdri::blockedAVX2 {

/// The operations that a host may leave out; null where it does.
struct OptionalOperations {
  decltype(&orv_cancelled) cancelled = nullptr;
  decltype(&orv_fallback) fallback = nullptr;
};

/// This host's. Thread-safe.
const OptionalOperations& optionalOperations();

}  // namespace orv::hdri::blockedAVX2
