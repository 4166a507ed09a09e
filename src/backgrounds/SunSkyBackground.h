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
  /// @param brush its settings are the sky description that the host is handed back; the brush is kept alive
  ///        where a shared pointer owns it, else it must outlive the background or the host must not look.
  /// @param sky the host's, whose settings were written already.
  SunSkyBackground(const SunSkyBrush& brush, orvSky& sky);

  /// Renders, converts and adjusts the sky. @return true. @throws std::length_error, std::bad_alloc.
  bool prepare(const PaintContext& context) override;

 private:
  orvSky* sky_;
  const void* description_;
  std::shared_ptr<const Brush> brush_;  // for its life alone
};

}  // namespace orv::hdri::blockedAVX2
