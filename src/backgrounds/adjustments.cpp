#include "backgrounds/adjustments.h"

#include <numbers>

#include "backgrounds/BlurSettings.h"
#include "backgrounds/MapBackground.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/TiltSettings.h"
#include "backgrounds/blur.h"
#include "backgrounds/sphere_blur.h"
#include "backgrounds/tilt.h"

namespace orv::hdri::blockedAVX2 {

void applyAdjustments(MapBackground& background, const PaintContext& context, float maximum) {
  BlockedMap& map = background.preparedMap();
  background.samplingCopy() = InterleavedMap();

  BlurSettings blurSettings(context.blurAmount);
  if (blurSettings.amount() > 0.0f) {
    context.progressText("Blur");
    if (context.blurOnSphere) {
      const double columnAngle = 2.0 * std::numbers::pi / map.width();
      if (blurSettings.reachesNeighbours(map.width()))
        blurOnSphere(map, double{blurSettings.sigma(map.width())} * columnAngle, context);
    } else if (blurSettings.makeKernel(map.width(), map.height(), maximum)) {
      blur(map, blurSettings, context);
    }
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
