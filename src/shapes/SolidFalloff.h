#pragma once

#include "shapes/LaneFalloff.h"

namespace orv::hdri::blockedAVX2 {

/// The same everywhere.
class SolidFalloff final : public LaneFalloff<SolidFalloff> {
 public:
  Float8 weight(const FalloffInputs&) const { return splat(1.0f); }
};

}  // namespace orv::hdri::blockedAVX2
