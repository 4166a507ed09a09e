// Batches of many blocks give the bits of blocks evaluated one by one, with and without the table of cosines.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "shapes/CirclePinShape.h"
#include "shapes/RectPinShape.h"
#include "shapes/shape_support.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr std::size_t kBlocks = 33;
constexpr float kChange = 3.0f, kNobodys = 7.0f;
constexpr std::uint32_t kAllNeeds[] = {0x00, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70};

/// A row of columns with their tables.
struct Columns {
  alignas(32) float azimuth[8 * kBlocks];
  alignas(32) float sine[8 * kBlocks];
  alignas(32) float cosine[8 * kBlocks];
  alignas(32) float fromCentre[8 * kBlocks];

  explicit Columns(float centre) {
    for (std::size_t x = 0; x < 8 * kBlocks; x += 8) {
      const Float8 a = (laneIndex() + splat(static_cast<float>(x) - 132.0f)) * splat(0.0237f);
      const SinCos8 direction = sinCos(a);
      store(azimuth + x, a);
      store(sine + x, direction.sin);
      store(cosine + x, direction.cos);
      store(fromCentre + x, cos(a - splat(centre)));
    }
  }
};

template <typename T>
void expectSameBits(const T* many, const T* block, const char* plane) {
  EXPECT_EQ(std::memcmp(many, block, 8 * sizeof(T)), 0) << plane;
}

void expectBatchEqualsBlocks(const PinShape& shape, std::uint32_t needs, float centre, bool table) {
  const Columns columns(centre);
  const float elevation = 0.31f;
  OneBlock row = shape_support::batchAt(needs, 0, elevation);
  auto planes = std::make_unique<BatchPlanes>();
  std::memset(static_cast<void*>(planes.get()), 0, sizeof(BatchPlanes));
  // Changes are as the pass left them; beyond the batch stand numbers that are nobody's.
  for (float(&change)[BatchPlanes::kPixels] : planes->changes) std::fill_n(change, 8 * kBlocks, kChange);
  float* const all[] = {planes->u,
                        planes->v,
                        planes->cosAngle,
                        planes->weight,
                        planes->dotT1,
                        planes->dotT2,
                        planes->changes[0],
                        planes->changes[1],
                        planes->changes[2],
                        planes->changes[3],
                        planes->directionWorld[0],
                        planes->directionWorld[1],
                        planes->directionWorld[2]};
  for (float* plane : all) std::fill(plane + 8 * kBlocks, plane + BatchPlanes::kPixels, kNobodys);
  PixelBatch many = planes->batch();
  many.needs = needs;
  many.blocks = kBlocks;
  many.elevation = row.elevation;
  many.sinElevation = row.sinElevation;
  many.cosElevation = row.cosElevation;
  many.azimuth = columns.azimuth;
  many.sinAzimuth = columns.sine;
  many.cosAzimuth = columns.cosine;
  if (table) many.cosFromCentre = columns.fromCentre;
  shape.evaluate(many);

  for (std::size_t block = 0; block < kBlocks; ++block) {
    SCOPED_TRACE(testing::Message() << "needs " << needs << " block " << block << " table " << table);
    OneBlock batch = row;
    const std::size_t x = 8 * block;
    std::memcpy(batch.azimuth, columns.azimuth + x, sizeof batch.azimuth);
    for (float(&change)[8] : batch.changes) std::fill_n(change, 8, kChange);
    evaluate(shape, batch);
    expectSameBits(planes->u + x, batch.u, "u");
    expectSameBits(planes->v + x, batch.v, "v");
    expectSameBits(planes->mask + x, batch.mask, "mask");
    expectSameBits(planes->cosAngle + x, batch.cosAngle, "cosAngle");
    expectSameBits(planes->weight + x, batch.weight, "weight");
    expectSameBits(planes->dotT1 + x, batch.dotT1, "dotT1");
    expectSameBits(planes->dotT2 + x, batch.dotT2, "dotT2");
    for (int i = 0; i < 4; ++i) expectSameBits(planes->changes[i] + x, batch.changes[i], "changes");
    for (int i = 0; i < 3; ++i) {
      expectSameBits(planes->directionWorld[i] + x, batch.directionWorld[i], "direction");
    }
  }
  for (const float* plane : all)
    EXPECT_TRUE(std::all_of(plane + 8 * kBlocks, plane + BatchPlanes::kPixels, [](float x) {
      return x == kNobodys;
    })) << "written beyond the batch";
}

class Batches : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_P(Batches, OfACircleHaveTheBitsOfItsBlocks) {
  CirclePinParams params;
  params.azimuth = 0.4f;
  params.elevation = 0.2f;
  params.radius = 1.1f;
  params.rotation = 0.7f;
  for (const std::uint32_t half : {0u, 1u}) {
    params.half = half;
    const CirclePinShape shape(params, 0.05f);
    for (const std::uint32_t needs : kAllNeeds)
      expectBatchEqualsBlocks(shape, needs, params.azimuth, GetParam());
  }
}

TEST_P(Batches, OfARectangleHaveTheBitsOfItsBlocks) {
  RectPinParams params;
  params.azimuth = -0.3f;
  params.elevation = 0.4f;
  params.halfWidth = 0.9f;
  params.halfHeight = 0.5f;
  params.rotation = -0.6f;
  for (const std::uint32_t half : {0u, 1u}) {
    for (const float corner : {0.0f, 0.2f}) {
      params.half = half;
      params.cornerRadius = corner;
      const RectPinShape shape(params, 0.05f);
      for (const std::uint32_t needs : kAllNeeds) expectBatchEqualsBlocks(shape, needs, 0, GetParam());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutTable, Batches, testing::Bool());

}  // namespace
}  // namespace orv::hdri::blockedAVX2
