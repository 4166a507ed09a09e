#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "fills/PinFill.h"
#include "support/one_block.h"

/// What fills are given in tests.
namespace orv::hdri::blockedAVX2 {

using Lanes = std::array<float, 8>;

inline void setLanes(float (&plane)[8], const Lanes& values) {
  std::copy(values.begin(), values.end(), plane);
}
inline Lanes lanesOf(const float (&plane)[8]) {
  Lanes out;
  std::copy_n(plane, 8, out.begin());
  return out;
}
inline Lanes all(float value) {
  Lanes out;
  out.fill(value);
  return out;
}

/// Eight pixels of weight 1 in the middle of a pin, over black.
inline OneBlock middleOfAPin() {
  OneBlock batch{};
  setLanes(batch.weight, all(1.0f));
  for (auto& lane : batch.mask) lane = 0xffffffffu;
  setLanes(batch.directionWorld[0], all(1.0f));
  return batch;
}

/// A row of pixels with everything that a fill reads, drawn at random.
inline std::vector<OneBlock> randomBatches(std::size_t count) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  std::vector<OneBlock> out(count, middleOfAPin());
  for (OneBlock& batch : out)
    for (int i = 0; i < 8; ++i) {
      batch.u[i] = 2.0f * unit(random) - 1.0f;
      batch.v[i] = 2.0f * unit(random) - 1.0f;
      batch.weight[i] = unit(random) < 0.2f ? 0.0f : unit(random);
      for (auto& change : batch.changes) change[i] = unit(random) - 0.5f;
      for (auto& channel : batch.color) channel[i] = 3.0f * unit(random);
      const float z = 2.0f * unit(random) - 1.0f;
      const float azimuth = 6.2831855f * unit(random);
      batch.directionWorld[0][i] = std::sqrt(1.0f - z * z) * std::cos(azimuth);
      batch.directionWorld[1][i] = std::sqrt(1.0f - z * z) * std::sin(azimuth);
      batch.directionWorld[2][i] = z;
    }
  return out;
}

/// Composites blocks as one batch. @return the pixels merged.
inline std::vector<Block> compositeTogether(const PinFill& fill, const std::vector<OneBlock>& blocks) {
  const auto planes = std::make_unique<BatchPlanes>();
  const auto scratch = std::make_unique<FillScratch>();
  std::vector<Block> pixels(blocks.size());
  PixelBatch batch = planes->batch();
  batch.blocks = blocks.size();
  batch.color = pixels.data();
  for (std::size_t b = 0; b < blocks.size(); ++b)
    for (std::size_t i = 0; i < 8; ++i) {
      const std::size_t pixel = 8 * b + i;
      batch.u[pixel] = blocks[b].u[i];
      batch.v[pixel] = blocks[b].v[i];
      batch.weight[pixel] = blocks[b].weight[i];
      for (std::size_t c = 0; c < 4; ++c) batch.changes[c][pixel] = blocks[b].changes[c][i];
      for (std::size_t c = 0; c < 3; ++c) batch.directionWorld[c][pixel] = blocks[b].directionWorld[c][i];
      pixels[b].r[i] = blocks[b].color[0][i];
      pixels[b].g[i] = blocks[b].color[1][i];
      pixels[b].b[i] = blocks[b].color[2][i];
    }
  fill.composite(batch, *scratch);
  return pixels;
}

/// How many values differ in any bit between compositing blocks one by one and as one batch.
inline int differencesOfBatch(const PinFill& fill, std::vector<OneBlock> batches) {
  const std::vector<Block> together = compositeTogether(fill, batches);
  int different = 0;
  for (std::size_t b = 0; b < batches.size(); ++b) {
    composite(fill, batches[b]);
    different += lanesOf(batches[b].color[0]) != lanesOf(together[b].r);
    different += lanesOf(batches[b].color[1]) != lanesOf(together[b].g);
    different += lanesOf(batches[b].color[2]) != lanesOf(together[b].b);
  }
  return different;
}

/// A fill made as the painter makes it.
template <typename Fill, typename... Args>
std::unique_ptr<Fill> makeFill(const Args&... args) {
  return std::unique_ptr<Fill>(new (std::nothrow) Fill(args...));
}

}  // namespace orv::hdri::blockedAVX2
