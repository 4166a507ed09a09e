#include "shapes/sphere_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/reference/sphere.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr double kPiDouble = 3.141592653589793;

void expectNear(const Float3& actual, const reference::Vec3& expected, double bound) {
  EXPECT_NEAR(actual.x, expected[0], bound);
  EXPECT_NEAR(actual.y, expected[1], bound);
  EXPECT_NEAR(actual.z, expected[2], bound);
}

void expectNear(const Double3& actual, const Double3& expected, double bound) {
  EXPECT_NEAR(actual.x, expected.x, bound);
  EXPECT_NEAR(actual.y, expected.y, bound);
  EXPECT_NEAR(actual.z, expected.z, bound);
}

TEST(DirectionFromAngles, PointsAlongTheAxes) {
  expectNear(directionFromAngles(0, 0), {1, 0, 0}, 0);
  expectNear(directionFromAngles(1.5707964f, 0), {0, 1, 0}, 1e-7);
  expectNear(directionFromAngles(0.7f, 1.5707964f), {0, 0, 1}, 1e-7);
}

TEST(TangentFrame, PointsEastAndNorthWithoutRotation) {
  const TangentFrame frame = tangentFrame(0, 0, 0);
  expectNear(frame.centre, {1, 0, 0}, 0);
  expectNear(frame.tangent1, {0, 1, 0}, 0);
  expectNear(frame.tangent2, {0, 0, 1}, 0);
}

TEST(TangentFrame, TurnsEastTowardsNorth) {
  const TangentFrame frame = tangentFrame(0, 0, 1.5707964f);
  expectNear(frame.tangent1, {0, 0, 1}, 1e-7);
  expectNear(frame.tangent2, {0, -1, 0}, 1e-7);
}

TEST(TangentFrame, AgreesWithDoublePrecision) {
  for (float azimuth = -3.1f; azimuth < 3.2f; azimuth += 0.41f) {
    for (float elevation = -1.5f; elevation < 1.6f; elevation += 0.37f) {
      for (float rotation = -3.0f; rotation < 3.2f; rotation += 0.9f) {
        const TangentFrame frame = tangentFrame(azimuth, elevation, rotation);
        const reference::Frame exact = reference::tangentFrame(azimuth, elevation, rotation);
        expectNear(frame.centre, exact.centre, 3e-7);
        expectNear(frame.tangent1, exact.tangent1, 3e-7);
        expectNear(frame.tangent2, exact.tangent2, 3e-7);
      }
    }
  }
}

TEST(BoundingRadius, OfALineIsItsHalfLength) {
  EXPECT_FLOAT_EQ(boundingRadius(0.3f, 0), 0.3f);
  EXPECT_FLOAT_EQ(boundingRadius(0, 1.2f), 1.2f);
}

TEST(BoundingRadius, IsTheAngleToTheCornerOfTheSquareOfOneRadian) {
  // cos^2 1 = 0.29192658…, whose arc cosine is 1.27455578…
  EXPECT_NEAR(boundingRadius(1, 1), 1.2745558, 1e-7);
}

TEST(BoundingRadius, IsTheAngleToTheComposedCorner) {
  // Rz(-W) Ry(-H) turns the x axis to the corner in the pin's own frame.
  const double w = 0.4, h = 0.9;
  const Quaternion turn = quaternionFromAxis({0, 0, 1}, -w) * quaternionFromAxis({0, 1, 0}, -h);
  const Double3 corner = rotate(rotationMatrix(turn), {1, 0, 0});
  EXPECT_NEAR(boundingRadius(0.4f, 0.9f), std::acos(corner.x), 1e-7);
}

TEST(Quaternion, OfAnAxisOfAnyLengthIsAUnit) {
  const Quaternion q = quaternionFromAxis({0, 0, 5}, kPiDouble / 2);
  EXPECT_DOUBLE_EQ(q.w, std::sqrt(0.5));
  EXPECT_DOUBLE_EQ(q.z, std::sqrt(0.5));
  EXPECT_EQ(q.x, 0);
  EXPECT_EQ(q.y, 0);
}

TEST(Quaternion, ProductTurnsByTheRightFactorFirst) {
  const Quaternion aboutZ = quaternionFromAxis({0, 0, 1}, kPiDouble / 2);  // x to y
  const Quaternion aboutX = quaternionFromAxis({1, 0, 0}, kPiDouble / 2);  // y to z
  expectNear(rotate(rotationMatrix(aboutX * aboutZ), {1, 0, 0}), {0, 0, 1}, 1e-15);
  expectNear(rotate(rotationMatrix(aboutZ * aboutX), {1, 0, 0}), {0, 1, 0}, 1e-15);
}

TEST(Quaternion, ProductFollowsHamilton) {
  // (1 + 2i + 3j + 4k)(5 + 6i + 7j + 8k) = -60 + 12i + 30j + 24k
  const Quaternion p = Quaternion{1, 2, 3, 4} * Quaternion{5, 6, 7, 8};
  EXPECT_EQ(p.w, -60);
  EXPECT_EQ(p.x, 12);
  EXPECT_EQ(p.y, 30);
  EXPECT_EQ(p.z, 24);
}

TEST(Quaternion, ConjugateTurnsBack) {
  const Quaternion q = quaternionFromAxis({1, 2, -3}, 0.8);
  const Double3 v{0.2, -0.7, 0.4};
  const Double3 there = rotate(rotationMatrix(q), v);
  expectNear(rotate(rotationMatrix(conjugate(q)), there), v, 1e-15);
}

TEST(RotationMatrix, OfAQuarterTurnAboutZ) {
  const Matrix3 m = rotationMatrix(quaternionFromAxis({0, 0, 1}, kPiDouble / 2));
  const Matrix3 expected{{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      EXPECT_NEAR(m[row][column], expected[row][column], 1e-15);
    }
  }
}

TEST(RotationMatrix, IsOfTheQuaternionsDirectionWhateverItsLength) {
  const Matrix3 a = rotationMatrix({1, 2, 3, 4});
  const Matrix3 b = rotationMatrix({10, 20, 30, 40});
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) EXPECT_NEAR(a[row][column], b[row][column], 1e-15);
  }
}

TEST(RotationMatrix, OfZeroIsTheIdentity) {
  const Matrix3 m = rotationMatrix({0, 0, 0, 0});
  EXPECT_EQ(m[0][0], 1);
  EXPECT_EQ(m[0][1], 0);
  EXPECT_EQ(m[2][2], 1);
}

TEST(RotationMatrix, TransposeUndoesTheRotation) {
  const Matrix3 m = rotationMatrix(quaternionFromAxis({-1, 0.5, 2}, 2.1));
  const Double3 v{0.6, 0.1, -0.3};
  expectNear(rotateBack(m, rotate(m, v)), v, 1e-15);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
