// What pins promise about light: areas on the sphere, and that nothing depends on where a pin is turned to.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "paint/scene_painting.h"
#include "support/reference/pins.h"

namespace {

using orv::hdri::CirclePinParams;
using orv::hdri::RectPinParams;
using paint_test::paint;
using paint_test::radians;
using std::numbers::pi;

reference::Scene blackScene(int width, int height) {
  reference::Scene scene;
  scene.width = width;
  scene.height = height;
  scene.background = std::make_shared<orv::hdri::ColorBrush>(0.0f, 0.0f, 0.0f);
  return scene;
}

std::shared_ptr<orv::hdri::Brush> white() {
  return std::make_shared<orv::hdri::ColorBrush>(1.0f, 1.0f, 1.0f);
}

/// The integral of the red channel over the sphere: each pixel times its solid angle
/// (2 pi / width) (sin of its upper edge - sin of its lower edge).
double integral(const orv::hdri::EnvImage& image) {
  double sum = 0;
  for (int y = 0; y < image.height; ++y) {
    double row = 0;
    for (int x = 0; x < image.width; ++x)
      row += static_cast<double>(
          image
              .pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                      static_cast<std::size_t>(x)]
              .r);
    const double top = (0.5 - static_cast<double>(y) / image.height) * pi;
    const double bottom = (0.5 - (y + 1.0) / image.height) * pi;
    sum += row * (2.0 * pi / image.width) * (std::sin(top) - std::sin(bottom));
  }
  return sum;
}

double capArea(double radius) { return 2.0 * pi * (1.0 - std::cos(radius)); }

/// The solid angle between four planes tilted by the half-angles: 4 asin(sin W sin H).
double pyramidArea(double W, double H) { return 4.0 * std::asin(std::sin(W) * std::sin(H)); }

double angleOf(const reference::Scene& scene) {
  return static_cast<double>(reference::pixelAngle(scene.width, scene.height));
}

struct Place {
  const char* name;
  double azimuth;
  double elevation;
};
void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }

class Area : public testing::TestWithParam<Place> {};

INSTANTIATE_TEST_SUITE_P(Places, Area,
                         testing::Values(Place{"equator", 20, 0}, Place{"middle", -75, 35},
                                         Place{"nearPole", 40, 84}, Place{"pole", 0, 90},
                                         Place{"southPole", 10, -90}, Place{"seam", 180, 10},
                                         Place{"otherSeam", -179, -40}),
                         [](const auto& test) { return test.param.name; });

TEST_P(Area, OfAHardCircleIsItsCaps) {
  for (const double radius : {0.5, 3.0, 12.0, 45.0, 90.0, 120.0, 170.0}) {
    reference::Scene scene = blackScene(512, 256);
    scene.pins = {{CirclePinParams{.azimuth = radians(GetParam().azimuth),
                                   .elevation = radians(GetParam().elevation),
                                   .radius = radians(radius)},
                   white()}};
    const double r = radius * pi / 180.0;
    const double angle = angleOf(scene);
    const double area = integral(*paint(scene));
    EXPECT_GT(area, capArea(std::max(r - angle, 0.0))) << radius;
    EXPECT_LT(area, capArea(std::min(r + angle, pi))) << radius;
    if (radius > 10) {
      EXPECT_NEAR(area / capArea(r), 1.0, 0.01) << radius;
    }
  }
}

TEST_P(Area, OfASoftCircleIsHalfAPixelAngleLess) {
  // The rim fades evenly over one pixel angle on its inner side.
  for (const double radius : {12.0, 45.0, 90.0}) {
    reference::Scene scene = blackScene(512, 256);
    scene.smoothing = true;
    scene.pins = {{CirclePinParams{.azimuth = radians(GetParam().azimuth),
                                   .elevation = radians(GetParam().elevation),
                                   .radius = radians(radius)},
                   white()}};
    const double r = radius * pi / 180.0 - 0.5 * angleOf(scene);
    EXPECT_NEAR(integral(*paint(scene)) / capArea(r), 1.0, 0.002) << radius;
  }
}

TEST_P(Area, OfHalfACircleIsHalfItsCap) {
  reference::Scene scene = blackScene(512, 256);
  scene.pins = {{CirclePinParams{.azimuth = radians(GetParam().azimuth),
                                 .elevation = radians(GetParam().elevation),
                                 .radius = radians(40),
                                 .rotation = radians(33),
                                 .half = 1},
                 white()}};
  EXPECT_NEAR(integral(*paint(scene)) / capArea(40.0 * pi / 180.0), 0.5, 0.01);
}

TEST_P(Area, OfAHardRectangleIsItsPyramids) {
  for (const double rotation : {0.0, 25.0, 90.0}) {
    reference::Scene scene = blackScene(512, 256);
    scene.pins = {{RectPinParams{.azimuth = radians(GetParam().azimuth),
                                 .elevation = radians(GetParam().elevation),
                                 .halfWidth = radians(30),
                                 .halfHeight = radians(12),
                                 .rotation = radians(rotation)},
                   white()}};
    const double W = 30.0 * pi / 180.0;
    const double H = 12.0 * pi / 180.0;
    const double angle = angleOf(scene);
    const double area = integral(*paint(scene));
    EXPECT_GT(area, pyramidArea(W - angle, H - angle)) << rotation;
    EXPECT_LT(area, pyramidArea(W + angle, H + angle)) << rotation;
    EXPECT_NEAR(area / pyramidArea(W, H), 1.0, 0.03) << rotation;
  }
}

TEST_P(Area, OfARoundedSquareLosesItsCorners) {
  reference::Scene scene = blackScene(1024, 512);
  const RectPinParams square{.azimuth = radians(GetParam().azimuth),
                             .elevation = radians(GetParam().elevation),
                             .halfWidth = radians(20),
                             .halfHeight = radians(20)};
  scene.pins = {{square, white()}};
  const double sharp = integral(*paint(scene));
  RectPinParams rounded = square;
  rounded.cornerRadius = radians(10);
  scene.pins = {{rounded, white()}};
  const double round = integral(*paint(scene));
  // Each corner square of side c loses (1 - pi/4) c^2 in the plane of the two angles, where the area of the
  // sphere is between 0.75 and 1 of the plane's; rounding also brings a soft edge, half a pixel angle around.
  const double c = 10.0 * pi / 180.0;
  const double corners = 4.0 * (1.0 - pi / 4.0) * c * c;
  const double edge = 0.5 * angleOf(scene) * 8.0 * (20.0 * pi / 180.0);
  EXPECT_GT(sharp - round, 0.75 * corners + 0.7 * edge);
  EXPECT_LT(sharp - round, corners + 1.1 * edge);
}

TEST(Physics, AddedLightAddsUp) {
  // A circle in two colours over each other integrates to the sum of both.
  reference::Scene scene = blackScene(512, 256);
  const CirclePinParams circle{.elevation = radians(20), .radius = radians(30)};
  const auto strong = std::make_shared<orv::hdri::ColorBrush>(3.0f, 0.0f, 0.0f);
  scene.pins = {{circle, white()}, {circle, strong}};
  const double both = integral(*paint(scene));
  scene.pins.pop_back();
  EXPECT_NEAR(both, 4.0 * integral(*paint(scene)), 1e-6);
}

/// The map turned right by `columns`.
orv::hdri::Rgb turnedPixel(const orv::hdri::EnvImage& image, int x, int y, int columns) {
  const int source = ((x - columns) % image.width + image.width) % image.width;
  return image.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                      static_cast<std::size_t>(source)];
}

template <typename Params>
void expectTurnsWithTheMap(Params params) {
  reference::Scene scene = blackScene(256, 128);
  scene.background = std::make_shared<orv::hdri::ColorBrush>(0.25f, 0.5f, 0.75f);
  params.azimuth = 0;
  scene.pins = {{params, white()}};
  const auto still = paint(scene);
  for (const int columns : {1, 7, 8, 100, 127, -128, -3}) {
    params.azimuth = static_cast<float>(2.0 * pi * columns / 256.0);
    scene.pins = {{params, white()}};
    const auto turned = paint(scene);
    int different = 0;
    for (int y = 0; y < 128; ++y)
      for (int x = 0; x < 256; ++x)
        different += !(turned->pixels[static_cast<std::size_t>(y) * 256 + static_cast<std::size_t>(x)] ==
                       turnedPixel(*still, x, y, columns));
    EXPECT_EQ(different, 0) << columns;
  }
}

TEST(Physics, TurningACircleByWholeColumnsMovesThePictureBitForBit) {
  expectTurnsWithTheMap(CirclePinParams{.elevation = radians(31), .radius = radians(25.3)});
}

TEST(Physics, TurningAHalfCircleByWholeColumnsMovesThePictureBitForBit) {
  expectTurnsWithTheMap(CirclePinParams{
      .elevation = radians(-12), .radius = radians(50.1), .rotation = radians(17), .half = 1});
}

TEST(Physics, TurningARectangleByWholeColumnsMovesThePictureBitForBit) {
  expectTurnsWithTheMap(RectPinParams{.elevation = radians(55),
                                      .halfWidth = radians(40.7),
                                      .halfHeight = radians(21.3),
                                      .rotation = radians(10)});
}

/// The largest difference of two maps' channels, away from the poles, where neighbouring columns differ most.
double largestDifference(const orv::hdri::EnvImage& a, const orv::hdri::EnvImage& b) {
  double largest = 0;
  for (std::size_t i = 8 * static_cast<std::size_t>(a.width);
       i + 8 * static_cast<std::size_t>(a.width) < a.pixels.size(); ++i) {
    largest = std::max(largest, static_cast<double>(std::abs(a.pixels[i].r - b.pixels[i].r)));
    largest = std::max(largest, static_cast<double>(std::abs(a.pixels[i].g - b.pixels[i].g)));
  }
  return largest;
}

TEST(Physics, AWholeSphereOfBackgroundTurnsAsTheBackgroundItselfDoes) {
  // A picture that changes by at most 0.02 from one column to the next; both ways may differ by half a pixel.
  reference::Scene scene = blackScene(256, 128);
  reference::Image& picture = scene.images["sky.pfm"] = {256, 128, {}};
  for (int y = 0; y < 128; ++y)
    for (int x = 0; x < 256; ++x) {
      const double a = (x + 0.5) / 256.0 * 2.0 * pi - pi;
      const double e = (0.5 - (y + 0.5) / 128.0) * pi;
      for (const double c : {std::cos(a) * std::cos(e), std::sin(a) * std::cos(e), std::sin(e)})
        picture.rgb.push_back(static_cast<float>(0.5 + 0.4 * c));
    }
  for (const auto& [turn, tilt] :
       {std::pair{40.0f, 0.0f}, {90.0f, 35.0f}, {200.0f, -70.0f}, {0.0f, 120.0f}}) {
    const auto rotated = std::make_shared<orv::hdri::ImageBrush>("sky.pfm");
    rotated->setTiltAngles(turn, tilt);
    scene.background = rotated;
    scene.pins.clear();
    const auto expected = paint(scene);

    scene.background = std::make_shared<orv::hdri::ImageBrush>("sky.pfm");
    const auto fill = std::make_shared<orv::hdri::BackgroundBrush>(turn, tilt);
    fill->setMode(orv::hdri::BlendMode::mix);
    scene.pins = {{CirclePinParams{.radius = radians(180)}, fill}};
    EXPECT_LT(largestDifference(*expected, *paint(scene)), 0.02) << turn << ", " << tilt;
  }
}

}  // namespace
