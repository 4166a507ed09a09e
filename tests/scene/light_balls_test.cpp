#include "scene/light_balls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::scene {
namespace {

constexpr double kPi = std::numbers::pi;

hdri::EnvImage filled(int width, int height, const hdri::Rgb& pixel) {
  hdri::EnvImage map(width, height);
  std::fill(map.pixels.begin(), map.pixels.end(), pixel);
  return map;
}

/// Angles in radians.
Direction towards(double longitude, double latitude) {
  return {std::cos(longitude) * std::cos(latitude), std::sin(longitude) * std::cos(latitude),
          std::sin(latitude)};
}

Direction pixelDirection(const hdri::EnvImage& map, int x, int y) {
  return towards(((x + 0.5) / map.width - 0.5) * 2 * kPi, (0.5 - (y + 0.5) / map.height) * kPi);
}

double cosine(const Direction& a, const Direction& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

void expectDirection(const Direction& found, const Direction& expected) {
  EXPECT_NEAR(found.x, expected.x, 1e-12);
  EXPECT_NEAR(found.y, expected.y, 1e-12);
  EXPECT_NEAR(found.z, expected.z, 1e-12);
}

TEST(LookUp, FindsPixelsAtTheirCentres) {
  hdri::EnvImage map(8, 4);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) map.pixels[i].r = static_cast<float>(i);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 8; ++x)
      EXPECT_NEAR(lookUp(map, pixelDirection(map, x, y)).r, 8 * y + x, 1e-5) << x << ", " << y;
}

TEST(LookUp, GoesAcrossTheSeamAndOverThePole) {
  hdri::EnvImage map = filled(8, 4, {0, 0, 0});
  map.pixels[0].r = 1;
  map.pixels[7].r = 3;
  EXPECT_NEAR(lookUp(map, towards(kPi, 3 * kPi / 8)).r, 2, 1e-6) << "half a pixel past the last column";
  // Straight up: between the top pixel of a column and that half a turn away.
  map.pixels[4].r = 5;
  EXPECT_NEAR(lookUp(map, towards(kPi / 8, kPi / 2 - 1e-9)).r, 3, 1e-5);
}

TEST(BallCamera, TheMiddleMirrorsWhatIsBehindTheCamera) {
  const BallCamera camera(180);
  expectDirection(camera.normal(0, 0), {1, 0, 0});
  expectDirection(camera.mirrored(camera.normal(0, 0)), {1, 0, 0});
}

TEST(BallCamera, KnownNormals) {
  const double half = std::sqrt(0.5);
  // 45 degrees up mirrors the zenith; 45 degrees to the side mirrors that side.
  const BallCamera away(180);
  expectDirection(away.mirrored(away.normal(0, half)), {0, 0, 1});
  expectDirection(away.mirrored(away.normal(half, 0)), {0, -1, 0});
  const BallCamera along(0);
  expectDirection(along.mirrored(along.normal(half, 0)), {0, 1, 0});
  // The rim mirrors what lies behind the ball.
  expectDirection(along.mirrored(along.normal(-1, 0)), {1, 0, 0});
}

TEST(BlurByCosine, KeepsAConstantMap) {
  for (const int exponent : {1, 64}) {
    const hdri::EnvImage blurred = blurByCosine(filled(64, 32, {0.25f, 2, 1000}), exponent);
    for (const hdri::Rgb& pixel : blurred.pixels) {
      ASSERT_NEAR(pixel.r, 0.25, 1e-6);
      ASSERT_NEAR(pixel.g, 2, 1e-5);
      ASSERT_NEAR(pixel.b, 1000, 5e-3);
    }
  }
}

/// Irradiance over pi of one pixel of radiance 1, integrated over 32 x 32 parts of it.
double exactIrradiance(const hdri::EnvImage& map, int x, int y, const Direction& normal) {
  constexpr int kParts = 32;
  double sum = 0;
  for (int i = 0; i < kParts * kParts; ++i) {
    const double column = x + (i % kParts + 0.5) / kParts, row = y + (i / kParts + 0.5) / kParts;
    const double latitude = (0.5 - row / map.height) * kPi;
    const Direction d = towards((column / map.width - 0.5) * 2 * kPi, latitude);
    sum += std::max(cosine(d, normal), 0.0) * std::cos(latitude);
  }
  return sum * (2 * kPi / map.width / kParts) * (kPi / map.height / kParts) / kPi;
}

TEST(BlurByCosine, OfOneBrightPixelIsItsIrradiance) {
  const int lights[][2] = {{64, 32}, {0, 31}, {90, 3}, {20, 63}};
  for (const auto& [x, y] : lights) {
    hdri::EnvImage map = filled(128, 64, {0, 0, 0});
    map.pixels[static_cast<std::size_t>(y * 128 + x)] = {1, 1, 1};
    const hdri::EnvImage blurred = blurByCosine(map, 1);
    // A pixel counts as its centre: on the horizon it is cut by up to a quarter of its height, pi / 64.
    const double largest = exactIrradiance(map, x, y, pixelDirection(map, x, y));
    for (int i = 0; i < 128 * 64; i += 7) {
      const double exact = exactIrradiance(map, x, y, pixelDirection(map, i % 128, i / 128));
      EXPECT_NEAR(blurred.pixels[static_cast<std::size_t>(i)].r, exact, kPi / 64 / 4 * largest)
          << x << ", " << y << ": " << i;
    }
  }
}

TEST(BlurByCosine, TheGlossyLobeFallsToHalfAtItsAngle) {
  hdri::EnvImage map = filled(256, 128, {0, 0, 0});
  map.pixels[64 * 256 + 128] = {1, 1, 1};
  const hdri::EnvImage blurred = blurByCosine(map, 64);
  // cos^64 at six columns, 360 * 6 / 256 degrees, on the latitude of the light: cos a = sin^2 + cos^2 cos
  // turn.
  const double latitude = 0.5 * kPi / 128, turn = 2 * kPi * 6 / 256;
  const double angleCosine =
      std::pow(std::sin(latitude), 2) + std::pow(std::cos(latitude), 2) * std::cos(turn);
  EXPECT_NEAR(blurred.pixels[64 * 256 + 134].r / blurred.pixels[64 * 256 + 128].r, std::pow(angleCosine, 64),
              1e-5);
}

TEST(ResizeMap, KeepsAConstantMapSmallerOrLarger) {
  for (const int width : {4, 100, 300, 512}) {
    const hdri::EnvImage map = resizeMap(filled(width, width / 2, {0.5f, 1, 2}), 256, 128);
    ASSERT_EQ(map.width, 256);
    ASSERT_EQ(map.height, 128);
    for (const hdri::Rgb& pixel : map.pixels) ASSERT_EQ(pixel, (hdri::Rgb{0.5f, 1, 2})) << width;
  }
}

}  // namespace
}  // namespace orv::scene
