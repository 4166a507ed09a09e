#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "brushes/PinFill.h"
#include "shapes/PixelBatch.h"
#include "shapes/PixelRun.h"

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
inline PixelBatch middleOfAPin() {
  PixelBatch batch{};
  setLanes(batch.weight, all(1.0f));
  for (auto& lane : batch.mask) lane = 0xffffffffu;
  setLanes(batch.directionWorld[0], all(1.0f));
  return batch;
}

/// A row of pixels with everything that a fill reads, drawn at random.
inline std::vector<PixelBatch> randomBatches(std::size_t count) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  std::vector<PixelBatch> out(count, middleOfAPin());
  for (PixelBatch& batch : out)
    for (int i = 0; i < 8; ++i) {
      batch.u[i] = 2.0f * unit(random) - 1.0f;
      batch.v[i] = 2.0f * unit(random) - 1.0f;
      batch.weight[i] = unit(random) < 0.2f ? 0.0f : unit(random);
      for (auto& change : batch.changes) change[i] = unit(random) - 0.5f;
      for (auto& channel : batch.colour) channel[i] = 3.0f * unit(random);
      const float z = 2.0f * unit(random) - 1.0f;
      const float azimuth = 6.2831855f * unit(random);
      batch.directionWorld[0][i] = std::sqrt(1.0f - z * z) * std::cos(azimuth);
      batch.directionWorld[1][i] = std::sqrt(1.0f - z * z) * std::sin(azimuth);
      batch.directionWorld[2][i] = z;
    }
  return out;
}

/// Composites batches as one run. @return the blocks merged.
inline std::vector<Block> compositeAsRun(const PinFill& fill, const std::vector<PixelBatch>& batches) {
  const auto planes = std::make_unique<RunPlanes>();
  const auto scratch = std::make_unique<FillScratch>();
  std::vector<Block> pixels(batches.size());
  PixelRun run = planes->run();
  run.blocks = batches.size();
  for (std::size_t b = 0; b < batches.size(); ++b)
    for (std::size_t i = 0; i < 8; ++i) {
      const std::size_t pixel = 8 * b + i;
      run.u[pixel] = batches[b].u[i];
      run.v[pixel] = batches[b].v[i];
      run.weight[pixel] = batches[b].weight[i];
      for (std::size_t c = 0; c < 4; ++c) run.changes[c][pixel] = batches[b].changes[c][i];
      for (std::size_t c = 0; c < 3; ++c) run.directionWorld[c][pixel] = batches[b].directionWorld[c][i];
      pixels[b].r[i] = batches[b].colour[0][i];
      pixels[b].g[i] = batches[b].colour[1][i];
      pixels[b].b[i] = batches[b].colour[2][i];
    }
  fill.compositeRun(run, pixels.data(), *scratch);
  return pixels;
}

/// How many values differ in any bit between compositing batches one by one and as one run.
inline int differencesOfRun(const PinFill& fill, std::vector<PixelBatch> batches) {
  const std::vector<Block> run = compositeAsRun(fill, batches);
  int different = 0;
  for (std::size_t b = 0; b < batches.size(); ++b) {
    fill.composite(batches[b]);
    different += lanesOf(batches[b].colour[0]) != lanesOf(run[b].r);
    different += lanesOf(batches[b].colour[1]) != lanesOf(run[b].g);
    different += lanesOf(batches[b].colour[2]) != lanesOf(run[b].b);
  }
  return different;
}

/// A fill made as the painter makes it.
template <typename Fill, typename... Args>
std::unique_ptr<Fill> makeFill(const Args&... args) {
  return std::unique_ptr<Fill>(new (std::nothrow) Fill(args...));
}

}  // namespace orv::hdri::blockedAVX2
