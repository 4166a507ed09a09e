#include "shapes/Direction8.h"

namespace orv::hdri::blockedAVX2 {

void project(const PixelBatch& shared, const Frame8& axes) {
  const PixelBatch batch = shared;
  const Frame8 frame = axes;
  const Float8 cosElevation = load(batch.cosElevation);
  const Float8 sinElevation = load(batch.sinElevation);
  const std::size_t pixels = 8 * batch.blocks;

  // p = (cos a cos e, sin a cos e, sin e)
  for (std::size_t i = 0; i < pixels; i += 8) {
    const SinCos8 azimuth = sinCosAzimuth(batch, i);
    const Direction8 p{azimuth.cos * cosElevation, azimuth.sin * cosElevation, sinElevation};
    store(batch.cosAngle + i, dot(p, frame.centre));
    store(batch.dotT1 + i, dot(p, frame.tangent1));
    store(batch.dotT2 + i, dot(p, frame.tangent2));
  }

  if (!(batch.needs & kNeedsDirection)) return;
  for (std::size_t i = 0; i < pixels; i += 8) {
    const SinCos8 azimuth = sinCosAzimuth(batch, i);
    store(batch.directionWorld[0] + i, azimuth.cos * cosElevation);
    store(batch.directionWorld[1] + i, azimuth.sin * cosElevation);
    store(batch.directionWorld[2] + i, sinElevation);
  }
}

}  // namespace orv::hdri::blockedAVX2
