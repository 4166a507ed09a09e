#include "shapes/Direction8.h"

namespace orv::hdri::blockedAVX2 {

void project(const PixelRun& shared, const Frame8& axes) {
  const PixelRun run = shared;
  const Frame8 frame = axes;
  const Float8 cosElevation = load(run.cosElevation);
  const Float8 sinElevation = load(run.sinElevation);
  const std::size_t pixels = 8 * run.blocks;

  // p = (cos a cos e, sin a cos e, sin e)
  for (std::size_t i = 0; i < pixels; i += 8) {
    const SinCos8 azimuth = sinCosAzimuth(run, i);
    const Direction8 p{azimuth.cos * cosElevation, azimuth.sin * cosElevation, sinElevation};
    store(run.cosAngle + i, dot(p, frame.centre));
    store(run.dotT1 + i, dot(p, frame.tangent1));
    store(run.dotT2 + i, dot(p, frame.tangent2));
  }

  if (!(run.needs & kNeedsDirection)) return;
  for (std::size_t i = 0; i < pixels; i += 8) {
    const SinCos8 azimuth = sinCosAzimuth(run, i);
    store(run.directionWorld[0] + i, azimuth.cos * cosElevation);
    store(run.directionWorld[1] + i, azimuth.sin * cosElevation);
    store(run.directionWorld[2] + i, sinElevation);
  }
}

}  // namespace orv::hdri::blockedAVX2
