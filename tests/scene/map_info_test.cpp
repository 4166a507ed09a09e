#include "scene/map_info.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "hdri/EnvImage.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

constexpr double kPi = std::numbers::pi;
enum Axis : std::size_t { plusX, minusX, plusY, minusY, plusZ, minusZ };

/// A grey map whose pixel (x, y) is `grey(x, y)`.
template <typename Grey>
hdri::EnvImage mapOf(int width, int height, const Grey& grey) {
  hdri::EnvImage map(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto value = static_cast<float>(grey(x, y));
      map.pixels[static_cast<std::size_t>(y * width + x)] = {value, value, value};
    }
  return map;
}

MapFigures figuresOf(const hdri::EnvImage& map, Layout layout = Layout::native) {
  MapLight light = lightOf(map);
  return scene::figuresOf(&map.pixels.data()->r, map.width, map.height, layout, light);
}

void expectIrradiance(const MapFigures& figures, Axis axis, double expected) {
  for (const double channel : figures.irradiance[axis]) EXPECT_NEAR(channel, expected, 1e-9) << axis;
}

TEST(MapFigures, IrradianceOfOneColorIsPiTimesIt) {
  for (const int width : {1, 2, 3, 64}) {
    const MapFigures figures = figuresOf(mapOf(width, 5, [](int, int) { return 2; }));
    for (const Axis axis : {plusX, minusX, plusY, minusY, plusZ, minusZ})
      expectIrradiance(figures, axis, 2 * kPi);
  }
}

// A cap of radius r about the zenith: L pi sin^2 r on a surface that looks up, and L (r - sin(2 r) / 2) on
// one that looks to the horizon.
TEST(MapFigures, IrradianceOfACapIsItsClosedForm) {
  const double r = kPi / 6;
  const MapFigures zenith = figuresOf(mapOf(24, 180, [](int, int y) { return y < 30 ? 3 : 0; }));
  expectIrradiance(zenith, plusZ, 3 * kPi / 4);
  expectIrradiance(zenith, minusZ, 0);
  for (const Axis axis : {plusX, minusX, plusY, minusY})
    expectIrradiance(zenith, axis, 3 * (r - std::sin(2 * r) / 2));
  const MapFigures nadir = figuresOf(mapOf(24, 180, [](int, int y) { return y >= 150 ? 3 : 0; }));
  expectIrradiance(nadir, plusZ, 0);
  expectIrradiance(nadir, minusZ, 3 * kPi / 4);
}

// Half of the sphere lights a surface that looks away from its middle not at all, and one that looks along
// its edge with half of what it gets from all of the sphere.
TEST(MapFigures, IrradianceOfTheRightHalfComesFromPlusY) {
  const MapFigures figures = figuresOf(mapOf(10, 6, [](int x, int) { return x >= 5 ? 1 : 0; }));
  expectIrradiance(figures, plusY, kPi);
  expectIrradiance(figures, minusY, 0);
  for (const Axis axis : {plusX, minusX, plusZ, minusZ}) expectIrradiance(figures, axis, kPi / 2);
}

TEST(MapFigures, IrradianceOfTheMiddleComesFromPlusX) {
  const MapFigures figures = figuresOf(mapOf(8, 6, [](int x, int) { return x >= 2 && x < 6 ? 1 : 0; }));
  expectIrradiance(figures, plusX, kPi);
  expectIrradiance(figures, minusX, 0);
}

TEST(MapFigures, AreOfTheSameDirectionsInEveryLayout) {
  const auto grey = [](int x, int y) { return 1 + (x * 7 + y * 3) % 5; };
  const hdri::EnvImage native = mapOf(16, 8, grey);
  const MapFigures expected = figuresOf(native);
  for (const Layout layout : {Layout::usd, Layout::blender, Layout::mitsuba, Layout::pbrt, Layout::three}) {
    hdri::EnvImage turned = mapOf(16, 8, grey);
    toLayout(turned, layout);
    const MapFigures figures = figuresOf(turned, layout);
    for (const Axis axis : {plusX, minusX, plusY, minusY, plusZ, minusZ})
      expectIrradiance(figures, axis, expected.irradiance[axis][0]);
  }
  const MapFigures ends = figuresOf(mapOf(9, 5, [](int, int) { return 2; }), Layout::openexr);
  for (const Axis axis : {plusX, minusX, plusY, minusY, plusZ, minusZ}) expectIrradiance(ends, axis, 2 * kPi);
}

TEST(MapFigures, TheShareIsWhatLiesAboutTheBrightest) {
  // Two pixels of a row, a quarter turn apart.
  const MapFigures figures = figuresOf(mapOf(64, 32, [](int x, int y) {
    if (y != 12) return 0;
    return x == 10 ? 3 : x == 26 ? 1 : 0;
  }));
  EXPECT_NEAR(figures.brightestShare, 0.75, 1e-12);
}

TEST(MapFigures, TheShareOfAMapOfOneColorIsThatOfTheCap) {
  const MapFigures figures = figuresOf(mapOf(1440, 720, [](int, int) { return 1; }));
  EXPECT_NEAR(figures.brightestShare, (1 - std::cos(5 * kPi / 180)) / 2, 5e-5);
}

TEST(MapFigures, StopsAreDoublingsFromTheDimmestLight) {
  EXPECT_NEAR(figuresOf(mapOf(4, 2, [](int x, int) { return x == 0   ? 0.125
                                                            : x == 1 ? 4
                                                                     : 0; })).stops, 5,
              1e-6);
  EXPECT_EQ(figuresOf(mapOf(4, 2, [](int, int) { return 0; })).stops, 0);
}

TEST(MapFigures, LeastAndMostAreOfEachChannel) {
  hdri::EnvImage map = mapOf(4, 2, [](int, int) { return 1; });
  map.pixels[3] = {-2, 5, 1};
  map.pixels[5] = {7, 0.5f, 1};
  const MapFigures figures = figuresOf(map);
  EXPECT_EQ(figures.least, (std::array<double, 3>{-2, 0.5, 1}));
  EXPECT_EQ(figures.most, (std::array<double, 3>{7, 5, 1}));
  EXPECT_EQ(figures.negative, 1u);
}

}  // namespace
}  // namespace orv::scene
