#include "backgrounds/adjustments.h"

#include "backgrounds/BlurSettings.h"
#include "backgrounds/MapBackground.h"
#include "backgrounds/TiltSettings.h"
#include "backgrounds/blur.h"
#include "backgrounds/tilt.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

void applyAdjustments(MapBackground& background, BlockedPainter& painter, float maximum) {
  BlockedMap& map = background.preparedMap();
  background.samplingCopy().release();

  BlurSettings blurSettings(painter.blurAmount());
  if (blurSettings.amount() > 0.0f) {
    painter.progressText("Blur");
    if (blurSettings.makeKernel(map.width(), map.height(), maximum)) blur(map, blurSettings, painter);
  }

  // Fills that show the background bring their own rotation: the copy is taken before the map is rotated.
  if (painter.hasBackgroundFill()) map.copyInto(background.samplingCopy());

  const TiltSettings tiltSettings(painter.tiltAngle1(), painter.tiltAngle2());
  if (tiltSettings.needed(map.width())) {
    painter.progressText("Tilt");
    tilt(map, tiltSettings);
    // One step of the whole row count: hosts take what passes the end as the end.
    painter.progressStep(static_cast<float>(map.height()));
  }
}

}  // namespace orv::hdri::blockedAVX2
