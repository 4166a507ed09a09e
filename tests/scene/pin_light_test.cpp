// Pins that keep their light: painted with soft edges, they hold what they would hold with hard ones.

#include "scene/pin_light.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <variant>
#include <vector>

#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/IPainter.h"
#include "support/reference/falloffs.h"
#include "sweeps/soak.h"

namespace orv::scene {
namespace {

using hdri::CirclePinParams;
using hdri::Falloff;
using hdri::RectPinParams;

constexpr double kPi = std::numbers::pi;

struct Size {
  int width;
  int height;

  /// The coarser side of a pixel, radians.
  double pixel() const { return std::max(2 * kPi / width, kPi / height); }
};

/// Red over the sphere, each pixel by its solid angle.
double lightOf(const hdri::EnvImage& map) {
  double sum = 0;
  for (int y = 0; y < map.height; ++y) {
    double row = 0;
    for (int x = 0; x < map.width; ++x)
      row +=
          static_cast<double>(map.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(map.width) +
                                         static_cast<std::size_t>(x)]
                                  .r);
    sum += row * (std::cos(kPi * y / map.height) - std::cos(kPi * (y + 1) / map.height));
  }
  return sum * 2 * kPi / map.width;
}

/// The light of a white pin, painted with soft edges over black.
template <typename Pin>
double painted(const Pin& pin, const Size& size, const hdri::Brush& fill = hdri::ColorBrush(1, 1, 1)) {
  const std::unique_ptr<hdri::IPainter, void (*)(hdri::IPainter*)> painter(createAVX2Painter(),
                                                                           destroyAVX2Painter);
  painter->setSize(size.width, size.height);
  painter->setOptions({.smoothing = 1, .keepBackground = 0});
  painter->setBackground(hdri::ColorBrush(0, 0, 0));
  if constexpr (std::is_same_v<Pin, CirclePinParams>)
    EXPECT_TRUE(painter->addCirclePin(pin, fill));
  else
    EXPECT_TRUE(painter->addRectPin(pin, fill));
  return lightOf(*painter->paint());
}

/// Places where a pin is hard to hit: the equator, 60 and 85 degrees, over both poles, on the seam; and
/// others.
std::vector<std::pair<double, double>> places(const Size& size, int others) {
  const double pixel = size.pixel();
  std::vector<std::pair<double, double>> out{{0.1, 0.0},
                                             {0.7, kPi / 3},
                                             {-2.0, 85 * kPi / 180},
                                             {1.0, kPi / 2},
                                             {2.5, kPi / 2 - 0.6 * pixel},
                                             {-1.0, -kPi / 2 + 0.3 * pixel},
                                             {kPi, 0.3},
                                             {-kPi + 0.4 * pixel, -0.8}};
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(-1, 1);
  for (int i = 0; i < others; ++i) out.emplace_back(unit(random) * kPi, std::asin(unit(random)));
  return out;
}

/// A circle's light with a hard edge: 2 pi times the integral of its falloff times the sine, by the midpoint
/// rule.
double hardLight(const CirclePinParams& pin) {
  const double radius = static_cast<double>(pin.radius);
  const int steps = 4000;
  double sum = 0;
  for (int i = 0; i < steps; ++i) {
    const double angle = radius * (i + 0.5) / steps;
    sum += reference::falloff(pin, angle / radius, std::cos(angle)) * std::sin(angle);
  }
  return (pin.half ? kPi : 2 * kPi) * sum * radius / steps;
}

struct Errors {
  double worst = 0;
  double mean = 0;
};

/// Relative errors of a solid circle's light over many places.
Errors errorsOf(const Size& size, double pixels, int others) {
  Errors errors;
  const auto all = places(size, others);
  for (const auto& [azimuth, elevation] : all) {
    CirclePinParams pin;
    pin.azimuth = static_cast<float>(azimuth);
    pin.elevation = static_cast<float>(elevation);
    pin.radius = static_cast<float>(pixels * size.pixel());
    const double wanted = 2 * kPi * (1 - std::cos(static_cast<double>(pin.radius)));
    const double error = painted(keepLight(pin, size.width, size.height, false), size) / wanted - 1;
    errors.worst = std::max(errors.worst, std::abs(error));
    errors.mean += error / static_cast<double>(all.size());
  }
  return errors;
}

class Maps : public testing::TestWithParam<Size> {};

TEST_P(Maps, CirclesOfAllSizesKeepTheirLightAtEveryPlace) {
  for (const double pixels : {0.5, 1.0, 2.0, 3.0, 8.0, 20.0}) {
    const Errors errors = errorsOf(GetParam(), pixels, 42);
    EXPECT_LT(errors.worst, pixels < 1 ? 0.03 : 0.01) << pixels << " pixels";
    EXPECT_LT(std::abs(errors.mean), 0.003) << pixels << " pixels";
  }
}

TEST_P(Maps, ASpotOfAThirdOfAPixelDoesNotVanish) {
  EXPECT_LT(std::abs(errorsOf(GetParam(), 0.3, 42).mean), 0.02);
}

INSTANTIATE_TEST_SUITE_P(Sizes, Maps,
                         testing::Values(Size{256, 128}, Size{512, 256}, Size{1000, 499}, Size{256, 512},
                                         Size{1024, 128}),
                         [](const auto& size) {
                           return std::to_string(size.param.width) + "x" + std::to_string(size.param.height);
                         });

TEST(KeepLight, HoldsOnMapsWhosePixelsAreNearTheRoundingOfACosine) {
  const Size size{8192, 4096};
  // A map of that size takes its time: every day the smallest pin, to which a rounding matters most.
  for (const double pixels : {0.5, 1.0, 2.0}) {
    if (pixels > 0.5 * sweeps::rounds(1, 4)) break;
    const Errors errors = errorsOf(size, pixels, 0);
    EXPECT_LT(errors.worst, pixels < 1 ? 0.03 : 0.015) << pixels << " pixels";
  }
}

TEST(KeepLight, HoldsForEveryFalloffOfACircle) {
  const Size size{512, 256};
  for (const Falloff falloff :
       {Falloff::circleCosine, Falloff::circleLinear, Falloff::circleQuadratic, Falloff::circleSmoothEdge,
        Falloff::circleGaussianEdge, Falloff::outline, Falloff::solid})
    for (const float amount : {0.0f, 0.4f, 1.0f})
      for (const double pixels : {1.0, 3.0, 15.0})
        for (const bool half : {false, true})
          for (const auto& [azimuth, elevation] : places(size, 0)) {
            CirclePinParams pin;
            pin.azimuth = static_cast<float>(azimuth);
            pin.elevation = static_cast<float>(elevation);
            pin.radius = static_cast<float>(pixels * size.pixel());
            pin.rotation = 0.6f;
            pin.falloffKind = falloff;
            pin.falloffAmount = amount;
            pin.half = half;
            const double wanted = hardLight(pin);
            // Nothing to keep: a linear falloff of amount 1 is light at its centre alone.
            if (wanted < 1e-6 * size.pixel() * size.pixel()) continue;
            EXPECT_NEAR(painted(keepLight(pin, size.width, size.height, false), size) / wanted, 1, 0.015)
                << "falloff " << static_cast<unsigned>(falloff) << " amount " << amount << " pixels "
                << pixels << " half " << half << " at " << azimuth << ", " << elevation;
          }
}

TEST(KeepLight, RectanglesHoldTheSolidAngleOfTheirPyramid) {
  // 4 arcsin(sin w sin h), w and h the half-angles.
  for (const Size size : {Size{512, 256}, Size{256, 300}, Size{2048, 1024}})
    for (const auto& [across, down] :
         {std::pair{0.4, 3.0}, {1.0, 1.0}, {2.0, 1.0}, {12.0, 0.7}, {30.0, 20.0}})
      for (const auto& [azimuth, elevation] : places(size, 4)) {
        RectPinParams pin;
        pin.azimuth = static_cast<float>(azimuth);
        pin.elevation = static_cast<float>(elevation);
        pin.rotation = 0.4f;
        pin.halfWidth = static_cast<float>(across * size.pixel());
        pin.halfHeight = static_cast<float>(down * size.pixel());
        const double wanted = 4 * std::asin(std::sin(static_cast<double>(pin.halfWidth)) *
                                            std::sin(static_cast<double>(pin.halfHeight)));
        EXPECT_NEAR(painted(keepLight(pin, size.width, size.height), size) / wanted, 1, 0.015)
            << size.width << ": " << across << " x " << down << " at " << azimuth << ", " << elevation;
      }
}

TEST(KeepLight, ARoundedSquareIsACircle) {
  const Size size{1024, 512};
  for (const double pixels : {1.5, 10.0}) {
    RectPinParams pin;
    pin.azimuth = 0.3f;
    pin.elevation = 0.2f;
    pin.halfWidth = pin.halfHeight = pin.cornerRadius = static_cast<float>(pixels * size.pixel());
    const double wanted = 2 * kPi * (1 - std::cos(static_cast<double>(pin.halfWidth)));
    EXPECT_NEAR(painted(keepLight(pin, size.width, size.height), size) / wanted, 1, 0.015) << pixels;
  }
}

TEST(KeepLight, HoldsForHalfARectangleAndItsFalloffs) {
  const Size size{1024, 512};
  for (const Falloff falloff :
       {Falloff::rectCosine, Falloff::rectLinear, Falloff::rectQuadratic, Falloff::rectBoxEdge,
        Falloff::rectBoxProduct, Falloff::rectBoxGaussian, Falloff::outline, Falloff::solid})
    for (const bool half : {false, true}) {
      RectPinParams pin;
      pin.azimuth = 1.3f;
      pin.elevation = 0.5f;
      pin.halfWidth = static_cast<float>(9 * size.pixel());
      pin.halfHeight = static_cast<float>(7 * size.pixel());
      pin.falloffKind = falloff;
      pin.falloffAmount = 0.4f;
      pin.half = half;
      // The integral over both angles by the midpoint rule; a solid angle is dx dy / (1 + x^2 + y^2)^(3/2) in
      // their tangents.
      const int steps = 400;
      const double w = static_cast<double>(pin.halfWidth), h = static_cast<double>(pin.halfHeight);
      double wanted = 0;
      for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) {
          const double u = (i + 0.5) / steps, v = (j + 0.5) / steps;
          const double x = std::tan(u * w), y = std::tan(v * h);
          const double length = std::sqrt(1 + x * x + y * y);
          wanted +=
              reference::falloff(pin, u, v, 1 / length) * (1 + x * x) * (1 + y * y) / std::pow(length, 3);
        }
      wanted *= (half ? 2 : 4) * w * h / (steps * steps);
      EXPECT_NEAR(painted(keepLight(pin, size.width, size.height), size) / wanted, 1, 0.01)
          << "falloff " << static_cast<unsigned>(falloff) << " half " << half;
    }
}

TEST(KeepLight, HoldsUnderAFillThatNeedsCoordinates) {
  const Size size{4096, 2048};
  CirclePinParams pin;
  pin.azimuth = 0.77f;
  pin.elevation = -0.41f;
  pin.radius = static_cast<float>(0.6 * size.pixel());
  const double wanted = 2 * kPi * (1 - std::cos(static_cast<double>(pin.radius)));
  EXPECT_NEAR(painted(keepLight(pin, size.width, size.height, true), size, hdri::GradientBrush()) / wanted, 1,
              0.01);
}

TEST(KeepLight, FollowsTheFlatFormulaForLargePins) {
  // r' = w/2 + sqrt(r^2 - w^2/20)
  CirclePinParams pin;
  pin.radius = 0.05f;
  const double w = 1.5 * 2 * kPi / 2048;
  EXPECT_NEAR(keepLight(pin, 2048, 1024, false).radius, w / 2 + std::sqrt(0.0025 - w * w / 20), 2e-6);
}

TEST(KeepLight, LeavesOddPinsAlone) {
  for (const float radius : {0.0f, -1.0f, 3.2f, NAN, INFINITY}) {
    CirclePinParams pin;
    pin.radius = radius;
    const float kept = keepLight(pin, 64, 32, false).radius;
    EXPECT_TRUE(kept == radius || (std::isnan(kept) && std::isnan(radius))) << radius;
  }
  RectPinParams rect;
  rect.halfWidth = 0.1f;
  rect.halfHeight = 0;
  EXPECT_EQ(keepLight(rect, 64, 32).halfWidth, 0.1f);
  CirclePinParams placed;
  placed.radius = 0.01f;
  placed.azimuth = NAN;
  EXPECT_EQ(keepLight(placed, 64, 32, false).radius, 0.01f);
}

TEST(KeepLight, StaysOnTheSphere) {
  CirclePinParams pin;
  pin.radius = 3.14f;
  EXPECT_LE(keepLight(pin, 16, 8, false).radius, 3.1415928f);
  RectPinParams rect;
  rect.halfWidth = 1.57f;
  rect.halfHeight = 0.2f;
  EXPECT_LT(keepLight(rect, 64, 32).halfWidth, 1.5708f);
}

TEST(SolidAngle, OfCirclesIsThatOfTheirCaps) {
  hdri::CirclePinParams pin;
  for (const double degrees : {0.1, 10.0, 60.0, 120.0, 180.0}) {
    const double radius = degrees * kPi / 180;
    pin.radius = static_cast<float>(radius);
    pin.half = 0;
    EXPECT_NEAR(solidAngle(pin), 2 * kPi * (1 - std::cos(radius)), 1e-6) << degrees;
    pin.half = 1;
    EXPECT_NEAR(solidAngle(pin), kPi * (1 - std::cos(radius)), 1e-6) << degrees;
  }
}

TEST(SolidAngle, OfARectangleOfRightAnglesIsASixthOfTheSphere) {
  hdri::RectPinParams pin;
  pin.halfWidth = pin.halfHeight = static_cast<float>(kPi / 4);
  EXPECT_NEAR(solidAngle(pin), 4 * kPi / 6, 1e-6);
  pin.half = 1;
  EXPECT_NEAR(solidAngle(pin), 4 * kPi / 12, 1e-6);
}

TEST(SolidAngle, RoundCornersOfASmallSquareMakeACircle) {
  hdri::RectPinParams pin;
  pin.halfWidth = pin.halfHeight = pin.cornerRadius = 0.01f;
  EXPECT_NEAR(solidAngle(pin), std::numbers::pi * 1e-4, 1e-7);
}

}  // namespace
}  // namespace orv::scene
