#include "simd/Double4.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace orv::hdri::blockedAVX2 {
namespace {

std::array<double, 4> lanes(Double4 a) {
  alignas(32) double out[4];
  store(out, a);
  return {out[0], out[1], out[2], out[3]};
}

Double4 of(double a, double b, double c, double d) {
  const double in[] = {a, b, c, d};
  return loadUnaligned(in);
}

using Lanes = std::array<double, 4>;

TEST(Double4, FusedStepsAddAndSubtractTheProduct) {
  EXPECT_EQ(lanes(fma(splat(2.0), splat(3.0), splat(10.0)))[0], 16.0);
  EXPECT_EQ(lanes(fms(splat(2.0), splat(3.0), splat(10.0)))[1], -4.0);
  EXPECT_EQ(lanes(fnma(splat(2.0), splat(3.0), splat(10.0)))[2], 4.0);
}

TEST(Double4, HorizontalSumAddsEveryLane) { EXPECT_EQ(horizontalSum(of(1, 20, 300, 4000)), 4321.0); }

TEST(Double4, TransposeTurnsRowsIntoColumns) {
  Double4 rows[4] = {of(0, 1, 2, 3), of(10, 11, 12, 13), of(20, 21, 22, 23), of(30, 31, 32, 33)};
  transpose(rows);
  for (int j = 0; j < 4; ++j) EXPECT_EQ(lanes(rows[j]), (Lanes{0.0 + j, 10.0 + j, 20.0 + j, 30.0 + j})) << j;
}

TEST(Double4, FiniteOrReplacesInfinitiesAndNaNs) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(lanes(finiteOr(of(1, kInfinity, -kInfinity, nan), splat(7.0))), (Lanes{1, 7, 7, 7}));
}

TEST(Double4, FloatsComeAndGo) {
  alignas(16) float floats[4] = {1.5f, -2.0f, std::numeric_limits<float>::max(), 0.0f};
  alignas(16) float out[4];
  storeFloats(out, loadFloats(floats));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], floats[i]);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
