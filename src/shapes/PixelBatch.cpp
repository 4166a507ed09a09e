#include "shapes/PixelBatch.h"

namespace orv::hdri::blockedAVX2 {

PixelBatch PixelBatch::part(std::size_t first, std::size_t count) const {
  PixelBatch out = *this;
  out.blocks = count;
  out.color = color + first;
  const auto advance = [first](auto*&... planes) { ((planes = planes ? planes + 8 * first : nullptr), ...); };
  advance(out.azimuth, out.u, out.v, out.mask, out.cosAngle, out.dotT1, out.dotT2, out.weight, out.sinAzimuth,
          out.cosAzimuth, out.cosFromCentre);
  for (float*& change : out.changes) advance(change);
  for (float*& axis : out.directionWorld) advance(axis);
  return out;
}

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
