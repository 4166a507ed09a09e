#pragma once

#include <memory>

#include "hdri/Brush.h"

namespace orv::hdri::blockedAVX2 {

/// The brush itself where a shared pointer owns it, else a clone: what a background keeps must outlive a
/// brush on its host's stack. @throws std::bad_alloc.
template <typename Kind>
std::shared_ptr<const Kind> sharedOrCloned(const Kind& brush) {
  std::shared_ptr<const Brush> kept = brush.weak_from_this().lock();
  if (!kept) kept = brush.clone();
  return std::static_pointer_cast<const Kind>(kept);
}

}  // namespace orv::hdri::blockedAVX2
