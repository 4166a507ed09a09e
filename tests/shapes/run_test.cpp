// Runs of blocks give the bits of blocks evaluated one by one, with and without column tables.

#include <gtest/gtest.h>

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
void expectSameBits(const T* run, const T* block, const char* plane) {
  EXPECT_EQ(std::memcmp(run, block, 8 * sizeof(T)), 0) << plane;
}

void expectRunEqualsBlocks(const PinShape& shape, std::uint32_t needs, float centre, bool tables) {
  const Columns columns(centre);
  const float elevation = 0.31f;
  PixelBatch row = shape_support::batchAt(needs, 0, elevation);
  auto planes = std::make_unique<RunPlanes>();
  std::memset(static_cast<void*>(planes.get()), 0, sizeof(RunPlanes));
  PixelRun run = planes->run();
  run.needs = needs;
  run.blocks = kBlocks;
  run.elevation = row.elevation;
  run.sinElevation = row.sinElevation;
  run.cosElevation = row.cosElevation;
  run.azimuth = columns.azimuth;
  if (tables) {
    run.sinAzimuth = columns.sine;
    run.cosAzimuth = columns.cosine;
    run.cosFromCentre = columns.fromCentre;
  }
  shape.evaluateRun(run);

  for (std::size_t block = 0; block < kBlocks; ++block) {
    SCOPED_TRACE(testing::Message() << "needs " << needs << " block " << block << " tables " << tables);
    PixelBatch batch = row;
    const std::size_t x = 8 * block;
    std::memcpy(batch.azimuth, columns.azimuth + x, sizeof batch.azimuth);
    shape.evaluate(batch);
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
}

class Runs : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_P(Runs, OfACircleHaveTheBitsOfItsBlocks) {
  CirclePinParams params;
  params.azimuth = 0.4f;
  params.elevation = 0.2f;
  params.radius = 1.1f;
  params.rotation = 0.7f;
  for (const std::uint32_t half : {0u, 1u}) {
    params.half = half;
    const CirclePinShape shape(params, 0.05f);
    for (const std::uint32_t needs : kAllNeeds)
      expectRunEqualsBlocks(shape, needs, params.azimuth, GetParam());
  }
}

TEST_P(Runs, OfARectangleHaveTheBitsOfItsBlocks) {
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
      for (const std::uint32_t needs : kAllNeeds) expectRunEqualsBlocks(shape, needs, 0, GetParam());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutTables, Runs, testing::Bool());

}  // namespace
}  // namespace orv::hdri::blockedAVX2
