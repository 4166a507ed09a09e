#include "backgrounds/SunSkyBackground.h"

#include <algorithm>
#include <cstddef>

#include "backgrounds/PaintContext.h"
#include "backgrounds/adjustments.h"
#include "backgrounds/conversion.h"
#include "backgrounds/shared_brush.h"
#include "hdri/EnvImage.h"
#include "hdri/SunSkyBrush.h"
#include "host/orvSky.h"
#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {

SunSkyBackground::SunSkyBackground(const SunSkyBrush& brush, orvSky& sky)
    : MapBackground(brush.adjustments()), sky_(&sky), brush_(sharedOrCloned(brush)) {}

bool SunSkyBackground::prepare(const PaintContext& context) {
  checkedPixelCount(context.width, context.height);
  const auto width = static_cast<std::uint32_t>(context.width);
  const auto height = static_cast<std::uint32_t>(context.height);
  // Clears the bits of 95 rather than rounding to a multiple of 96: the host has always been given this size.
  const std::size_t count = (std::size_t{3} * width * height + 95) & ~std::size_t{95};
  AlignedFloats rgb(count);
  std::fill_n(rgb.data(), count, 0.0f);

  context.progressText("Sun & Sky");
  sky_->render(&brush_->settings(), rgb.data(), width, height);

  renewPreparedMap(context);
  context.progressText("Sun & Sky Adjustments");
  const float maximum = convertPixels(rgb.data(), adjustment(), preparedMap());
  context.progressStep(1.0f);
  applyAdjustments(*this, context, maximum);
  return true;
}

}  // namespace orv::hdri::blockedAVX2
