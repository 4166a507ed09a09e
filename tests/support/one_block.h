#pragma once

#include <cstdint>
#include <cstring>

#include "fills/PinFill.h"
#include "shapes/FalloffCurve.h"
#include "shapes/PinShape.h"
#include "shapes/PixelBatch.h"
#include "shapes/trigonometry.h"

/// Batches of one block whose planes a test can write and read in place.
namespace orv::hdri::blockedAVX2 {

/// The planes of a batch of one block.
struct alignas(32) OneBlock {
  std::uint32_t needs;
  alignas(32) float azimuth[8];
  alignas(32) float elevation[8];
  alignas(32) float sinElevation[8];
  alignas(32) float cosElevation[8];
  alignas(32) float u[8];
  alignas(32) float v[8];
  alignas(32) float changes[4][8];
  alignas(32) std::uint32_t mask[8];
  alignas(32) float cosAngle[8];
  alignas(32) float dotT1[8];
  alignas(32) float dotT2[8];
  alignas(32) float weight[8];
  alignas(32) float color[3][8];
  alignas(32) float directionWorld[3][8];

  // What the pass's tables hold for the block; set by `batch`.
  alignas(32) float sinAzimuth[8];
  alignas(32) float cosAzimuth[8];

  /// A view of this block.
  PixelBatch batch() {
    const SinCos8 direction = sinCos(load(azimuth));
    store(sinAzimuth, direction.sin);
    store(cosAzimuth, direction.cos);
    static_assert(sizeof color == sizeof(Block));
    PixelBatch out{};
    out.needs = needs;
    out.blocks = 1;
    out.azimuth = azimuth;
    out.elevation = elevation;
    out.sinElevation = sinElevation;
    out.cosElevation = cosElevation;
    out.u = u;
    out.v = v;
    for (int i = 0; i < 4; ++i) out.changes[i] = changes[i];
    out.mask = mask;
    out.cosAngle = cosAngle;
    out.dotT1 = dotT1;
    out.dotT2 = dotT2;
    out.weight = weight;
    out.color = reinterpret_cast<Block*>(&color);
    for (int i = 0; i < 3; ++i) out.directionWorld[i] = directionWorld[i];
    out.sinAzimuth = sinAzimuth;
    out.cosAzimuth = cosAzimuth;
    return out;
  }
};

inline void evaluate(const PinShape& shape, OneBlock& block) { shape.evaluate(block.batch()); }

/// The curve's value alone: inside the shape, where its edge is hard. @return `out`.
inline float* evaluate(const FalloffCurve& curve, float* out, OneBlock block) {
  std::memset(block.mask, 0xff, sizeof block.mask);
  for (float& weight : block.weight) weight = 1;
  curve.evaluate(block.batch());
  std::memcpy(out, block.weight, sizeof block.weight);
  return out;
}

inline void shade(const PinFill& fill, OneBlock& block, Block& color, float* weight) {
  FillScratch scratch;
  const Shading shading = fill.shade(block.batch(), scratch);
  color = *shading.color;
  std::memcpy(weight, shading.weight, 8 * sizeof(float));
}

inline void composite(const PinFill& fill, OneBlock& block) {
  FillScratch scratch;
  fill.composite(block.batch(), scratch);
}

}  // namespace orv::hdri::blockedAVX2
