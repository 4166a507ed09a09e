#include "simd/Float8.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv::hdri::blockedAVX2 {
namespace {

struct alignas(32) Lanes {
  float v[8];
};

Lanes lanes(Float8 a) {
  Lanes out{};
  store(out.v, a);
  return out;
}

TEST(Float8, MaxOfNaNAndZeroIsZero) {
  const Lanes out = lanes(max(splat(std::numeric_limits<float>::quiet_NaN()), zero8()));
  for (float lane : out.v) EXPECT_EQ(lane, 0.0f);
}

TEST(Float8, SelectTakesTheFirstWhereTheMaskIsSet) {
  const Lanes out = lanes(select(laneIndex() < splat(3.0f), splat(1.0f), splat(2.0f)));
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out.v[i], i < 3 ? 1.0f : 2.0f);
}

TEST(Float8, NegativeFusedMultiplyAddSubtractsTheProduct) {
  EXPECT_EQ(lanes(fnma(splat(2.0f), splat(3.0f), splat(10.0f))).v[0], 4.0f);
}

TEST(Float8, HorizontalMaxFindsTheLargestInEveryLane) {
  for (int hot = 0; hot < 8; ++hot) {
    Lanes in{};
    in.v[hot] = 5.0f;
    EXPECT_EQ(horizontalMax(load(in.v)), 5.0f) << hot;
  }
}

TEST(Float8, LookUpTakesTheLaneThatTheIndexNamesModuloEight) {
  const Int8 index = toIntTruncated(splat(9.0f) - laneIndex());
  const Lanes out = lanes(lookUp(laneIndex() * splat(10.0f), index));
  const float expected[8] = {10, 0, 70, 60, 50, 40, 30, 20};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out.v[i], expected[i]);
}

TEST(Float8, MaskAsIntegerIsMinusOneWhereSet) {
  const Lanes out = lanes(toFloat(toInt(laneIndex() < splat(3.0f))));
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out.v[i], i < 3 ? -1.0f : 0.0f);
}

TEST(Float8, DeinterleaveSplitsPixelsIntoPlanesAndInterleaveJoinsThem) {
  alignas(32) float pixels[24];
  for (int i = 0; i < 24; ++i) pixels[i] = static_cast<float>(i);
  Float8 r, g, b;
  deinterleave(load(pixels), load(pixels + 8), load(pixels + 16), r, g, b);
  const Lanes planes[3] = {lanes(r), lanes(g), lanes(b)};
  for (int i = 0; i < 8; ++i)
    for (int c = 0; c < 3; ++c) EXPECT_EQ(planes[c].v[i], pixels[3 * i + c]);

  Float8 x, y, z;
  interleave(r, g, b, x, y, z);
  const Lanes back[3] = {lanes(x), lanes(y), lanes(z)};
  for (int i = 0; i < 24; ++i) EXPECT_EQ(back[i / 8].v[i % 8], pixels[i]);
}

TEST(Float8, LooksUpFourFloatsHeldInBothHalves) {
  const float table[] = {9.0f, 10.0f, 11.0f, 12.0f, 13.0f};
  alignas(32) float out[8];
  alignas(32) const float index[8] = {3, 0, 1, 2, 2, 3, 4, 5};
  store(out, lookUpInHalves(loadHalves(table + 1), toIntTruncated(load(index))));
  const float expected[] = {13, 10, 11, 12, 12, 13, 10, 11};
  for (int lane = 0; lane < 8; ++lane) EXPECT_EQ(out[lane], expected[lane]) << lane;
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
