#pragma once

#include <memory>

#include "backgrounds/MapBackground.h"

class orvSky;

namespace orv::hdri {
class SunSkyBrush;
}

namespace orv::hdri::blockedAVX2 {

/// The host's sky, rendered at the map's size on each `prepare`.
class SunSkyBackground final : public MapBackground {
 public:
  /// @param brush its settings are the sky description that the host is handed back: the brush's own where
  ///        a shared pointer owns it, else those of a copy.
  /// @param sky the host's, whose settings were written already. @throws std::bad_alloc.
  SunSkyBackground(const SunSkyBrush& brush, orvSky& sky);

  /// Renders, converts and adjusts the sky. @return true. @throws std::length_error, std::bad_alloc.
  bool prepare(const PaintContext& context) override;

 private:
  orvSky* sky_;
  std::shared_ptr<const SunSkyBrush> brush_;  // whose settings are the description
};

}  // namespace orv::hdri::blockedAVX2
