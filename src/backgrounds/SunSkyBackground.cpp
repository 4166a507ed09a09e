#include "backgrounds/SunSkyBackground.h"

#include <algorithm>
#include <cstddef>

#include "backgrounds/AlignedFloats.h"
#include "backgrounds/adjustments.h"
#include "backgrounds/conversion.h"
#include "hdri/SunSkyBrush.h"
#include "host/orvSky.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

SunSkyBackground::SunSkyBackground(const SunSkyBrush& brush, orvSky& sky)
    : MapBackground(brush.adjustments()),
      sky_(&sky),
      description_(&brush.settings()),
      brush_(brush.weak_from_this().lock()) {}

bool SunSkyBackground::prepare(BlockedPainter& painter) {
  checkedPixelCount(painter.width(), painter.height());
  const auto width = static_cast<std::uint32_t>(painter.width());
  const auto height = static_cast<std::uint32_t>(painter.height());
  // Clears the bits of 95 rather than rounding to a multiple of 96: the host has always been given this size.
  const std::size_t count = (std::size_t{3} * width * height + 95) & ~std::size_t{95};
  AlignedFloats rgb = count == 0 ? AlignedFloats() : AlignedFloats(count);
  std::fill_n(rgb.data(), count, 0.0f);

  painter.progressText("Sun & Sky");
  sky_->render(description_, rgb.data(), width, height);

  renewPreparedMap(painter);
  painter.progressText("Sun & Sky Adjustments");
  const float maximum = convertPixels(rgb.data(), adjustment(), preparedMap());
  painter.progressStep(1.0f);
  applyAdjustments(*this, painter, maximum);
  return true;
}

}  // namespace orv::hdri::blockedAVX2
