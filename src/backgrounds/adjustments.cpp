#include "backgrounds/adjustments.h"

#include <numbers>

#include "backgrounds/BlurSettings.h"
#include "backgrounds/MapBackground.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/TiltSettings.h"
#include "backgrounds/blur.h"
#include "backgrounds/sphere_blur.h"
#include "backgrounds/tilt.h"
#include "maps/row_loop.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Multiplies all channels; what overflows is the largest finite float.
void scale(BlockedMap& map, float factor) {
  forEachRow(map.height(), 1, [&](std::uint32_t y) {
    for (Block& block : map.row(y))
      for (float* const channel : {block.r, block.g, block.b})
        store(channel, limited(load(channel) * splat(factor)));
  });
}

/// The largest absolute value of a channel.
float magnitude(const BlockedMap& map) {
  const auto add = [&](std::uint32_t y, Float8& largest) {
    for (const Block& block : map.row(y))
      for (const float* const channel : {block.r, block.g, block.b})
        largest = max(abs(load(channel)), largest);
  };
  const auto larger = [](Float8 a, Float8 b) { return max(a, b); };
  return horizontalMax(reduceOverRows(map.height(), zero8(), add, larger));
}

/// Whether sums of a map's pixels would overflow.
bool needsHeadroom(const BlockedMap& map, float maximum, bool canBeNegative) {
  if (map.empty()) return false;
  return (canBeNegative ? magnitude(map) : maximum) > kMost / 4;
}

}  // namespace

void applyAdjustments(MapBackground& background, const PaintContext& context, float maximum) {
  BlockedMap& map = background.preparedMap();
  background.samplingCopy() = InterleavedMap();

  BlurSettings blurSettings(context.blurAmount);
  if (blurSettings.amount() > 0.0f) {
    context.progressText("Blur");
    const bool quartered = needsHeadroom(map, maximum, background.canBeNegative());
    if (quartered) scale(map, 0.25f);
    if (context.blurOnSphere) {
      const double columnAngle = 2.0 * std::numbers::pi / map.width();
      if (blurSettings.reachesNeighbours(map.width()))
        blurOnSphere(map, double{blurSettings.sigma(map.width())} * columnAngle, context);
    } else if (blurSettings.makeKernel(map.width(), map.height(), maximum)) {
      blur(map, blurSettings, context);
    }
    if (quartered) scale(map, 4.0f);
  }

  // Fills that show the background bring their own rotation: the copy is taken before the map is rotated.
  if (context.hasBackgroundFill && !map.empty()) background.samplingCopy() = InterleavedMap(map);

  const TiltSettings tiltSettings(context.tiltAngle1, context.tiltAngle2);
  if (tiltSettings.needed(map.width())) {
    context.progressText("Tilt");
    tilt(map, background.samplingCopy(), tiltSettings);
    // One step of the whole row count: hosts take what passes the end as the end.
    context.progressStep(static_cast<float>(map.height()));
  }
}

}  // namespace orv::hdri::blockedAVX2
