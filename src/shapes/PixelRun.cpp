#include "shapes/PixelRun.h"

namespace orv::hdri::blockedAVX2 {

PixelRun RunPlanes::run() {
  PixelRun run{};
  run.u = u;
  run.v = v;
  for (int i = 0; i < 4; ++i) run.changes[i] = changes[i];
  run.mask = mask;
  run.cosAngle = cosAngle;
  run.dotT1 = dotT1;
  run.dotT2 = dotT2;
  run.weight = weight;
  for (int i = 0; i < 3; ++i) run.directionWorld[i] = directionWorld[i];
  return run;
}

PixelRun runOf(PixelBatch& batch) {
  PixelRun run{};
  run.needs = batch.needs;
  run.blocks = 1;
  run.elevation = batch.elevation;
  run.sinElevation = batch.sinElevation;
  run.cosElevation = batch.cosElevation;
  run.azimuth = batch.azimuth;
  run.u = batch.u;
  run.v = batch.v;
  for (int i = 0; i < 4; ++i) run.changes[i] = batch.changes[i];
  run.mask = batch.mask;
  run.cosAngle = batch.cosAngle;
  run.dotT1 = batch.dotT1;
  run.dotT2 = batch.dotT2;
  run.weight = batch.weight;
  for (int i = 0; i < 3; ++i) run.directionWorld[i] = batch.directionWorld[i];
  return run;
}

}  // namespace orv::hdri::blockedAVX2
