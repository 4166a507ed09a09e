#include "backgrounds/adjustments.h"

#include "backgrounds/MapBackground.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

void applyAdjustments(MapBackground& background, BlockedPainter& painter, float) {
  background.samplingCopy().release();
  if (painter.hasBackgroundFill()) background.preparedMap().copyInto(background.samplingCopy());
}

}  // namespace orv::hdri::blockedAVX2
