#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

PixelBatch BatchPlanes::batch() {
  PixelBatch batch{};
  batch.u = u;
  batch.v = v;
  for (int i = 0; i < 4; ++i) batch.changes[i] = changes[i];
  batch.mask = mask;
  batch.cosAngle = cosAngle;
  batch.dotT1 = dotT1;
  batch.dotT2 = dotT2;
  batch.weight = weight;
  for (int i = 0; i < 3; ++i) batch.directionWorld[i] = directionWorld[i];
  return batch;
}

}  // namespace orv::hdri::blockedAVX2
