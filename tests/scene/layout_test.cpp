// Six pins around the viewer, looked up by each renderer's own published formula.

#include "scene/layout.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <numbers>
#include <regex>

#include "orvrender/orvHost.h"
#include "scene/PainterLibrary.h"
#include "scene/map_file.h"
#include "scene/map_info.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"
#include "scene/usd_file.h"

namespace orv::scene {
namespace {

constexpr double kPi = std::numbers::pi;

struct Vector {
  double x, y, z;
};
Vector operator-(const Vector& v) { return {-v.x, -v.y, -v.z}; }
Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

constexpr hdri::Rgb kAhead{1, 0, 0}, kRight{0, 1, 0}, kBehind{0, 0, 1}, kLeft{1, 1, 0}, kUp{1, 0, 1},
    kDown{0, 1, 1};

PaintResult paint(const std::string& text, const PaintOptions& options = {}) {
  static const PainterLibrary library;
  const std::unique_ptr<orvScene, void (*)(orvScene*)> host(orv_scene_create({}), orv_scene_destroy);
  const PainterPointer painter = library.create();
  return paintScene(parseScene(text, "s.json"), *painter, host.get(), options);
}

/// What a viewer at the centre who looks at the middle of the map sees ahead, to the right and so on.
hdri::EnvImage sixPins(int width, int height) {
  const auto pin = [](const char* place, const char* color) {
    return std::string(R"({"shape": "circle", "radius": 20, )") + place +
           R"(, "fill": {"type": "color", "color": )" + color + "}}";
  };
  const std::string pins = pin(R"("azimuth": 0, "elevation": 0)", "[1, 0, 0]") + "," +
                           pin(R"("azimuth": 90, "elevation": 0)", "[0, 1, 0]") + "," +
                           pin(R"("azimuth": 180, "elevation": 0)", "[0, 0, 1]") + "," +
                           pin(R"("azimuth": -90, "elevation": 0)", "[1, 1, 0]") + "," +
                           pin(R"("azimuth": 0, "elevation": 90)", "[1, 0, 1]") + "," +
                           pin(R"("azimuth": 0, "elevation": -90)", "[0, 1, 1]");
  return *paint(R"({"version": 1, "background": {"type": "color", "color": [0, 0, 0]}, "pins": [)" + pins +
                    "]}",
                {.size = MapSize{width, height}})
              .map;
}

struct Place {
  double u;  ///< 0 at the left edge, 1 at the right one
  double v;  ///< 0 at the top
};

// Where renderers look a direction up, as they publish it.

/// OpenEXR, ImfEnvmap: latitude = asin(y), longitude = atan2(x, z); the positions are those of samples.
Place openexr(const Vector& d) {
  return {std::atan2(d.x, d.z) / (-2 * kPi) + 0.5, std::asin(d.y) / -kPi + 0.5};
}
/// Blender, Cycles: u = (atan2(y, x) - pi) / (-2 pi), v = (acos(z) - pi) / -pi upward.
Place blender(const Vector& d) {
  return {(std::atan2(d.y, d.x) - kPi) / (-2 * kPi), 1 - (std::acos(d.z) - kPi) / -kPi};
}
/// Mitsuba 3, envmap: u = atan2(x, -z) / (2 pi), v = acos(y) / pi.
Place mitsuba(const Vector& d) {
  const double u = std::atan2(d.x, -d.z) / (2 * kPi);
  return {u - std::floor(u), std::acos(d.y) / kPi};
}
/// pbrt, InfiniteAreaLight: u = phi / (2 pi), v = theta / pi, phi from 0 to 2 pi.
Place pbrt(const Vector& d) {
  const double phi = std::atan2(d.y, d.x);
  return {(phi < 0 ? phi + 2 * kPi : phi) / (2 * kPi), std::acos(d.z) / kPi};
}
/// three.js, equirectUv: u = atan(z, x) / (2 pi) + 1/2, v = asin(y) / pi + 1/2 upward.
Place three(const Vector& d) {
  return {std::atan2(d.z, d.x) / (2 * kPi) + 0.5, 1 - (std::asin(d.y) / kPi + 0.5)};
}

struct Renderer {
  Layout layout;
  std::function<Place(const Vector&)> lookUp;
  Vector up;
  bool rightHanded;
};

/// What stands right of who looks ahead: ahead x up where the axes are right-handed, as in all but pbrt.
Vector rightOf(const Vector& ahead, const Renderer& renderer) {
  return renderer.rightHanded ? cross(ahead, renderer.up) : cross(renderer.up, ahead);
}

class Renderers : public testing::TestWithParam<Renderer> {};

void expectColor(const hdri::EnvImage& map, const Renderer& renderer, const Vector& direction,
                 const hdri::Rgb& color, const char* what) {
  const Place place = renderer.lookUp(direction);
  const bool onEdges = renderer.layout == Layout::openexr;
  const auto index = [&](double at, int count) {
    const double pixel = onEdges ? std::round(at * (count - 1)) : std::floor(at * count);
    return static_cast<std::size_t>(std::clamp(pixel, 0.0, count - 1.0));
  };
  const hdri::Rgb& found = map.pixels[index(place.v, map.height) * static_cast<std::size_t>(map.width) +
                                      index(place.u, map.width)];
  EXPECT_NEAR(found.r, color.r, 1e-6f) << what;
  EXPECT_NEAR(found.g, color.g, 1e-6f) << what;
  EXPECT_NEAR(found.b, color.b, 1e-6f) << what;
}

void expectSixPins(const hdri::EnvImage& map, const Renderer& renderer) {
  const Vector ahead{1, 0, 0};
  const Vector right = rightOf(ahead, renderer);
  expectColor(map, renderer, ahead, kAhead, "ahead");
  expectColor(map, renderer, right, kRight, "right");
  expectColor(map, renderer, -ahead, kBehind, "behind");
  expectColor(map, renderer, -right, kLeft, "left");
  expectColor(map, renderer, renderer.up, kUp, "up");
  expectColor(map, renderer, -renderer.up, kDown, "down");
}

TEST_P(Renderers, SeeEachPinWhereItStandsForAViewerWhoLooksAlongX) {
  // Widths that allow whole columns to move, and others.
  for (const int width : {64, 128, 65, 66, 67}) {
    SCOPED_TRACE(width);
    hdri::EnvImage map = sixPins(width, 32);
    toLayout(map, GetParam().layout);
    expectSixPins(map, GetParam());
  }
}

/// A picture in the layout, as the background of a scene that says so, is the map that it was made of.
TEST_P(Renderers, PicturesCanBeBackgrounds) {
  const hdri::EnvImage map = sixPins(64, 32);
  hdri::EnvImage picture = map;
  toLayout(picture, GetParam().layout);
  const std::string name(nameOf(GetParam().layout));
  const auto folder = std::filesystem::path(testing::TempDir());
  const std::string path = (folder / ("orv_layout_" + name + std::to_string(::getpid()) + ".exr")).string();
  OutputFile file(path);
  writeMap(picture, file, *mapFormatOf(path), {.layout = GetParam().layout});
  file.commit();
  const PaintResult result =
      paint(R"({"version": 1, "size": [64, 32], "background": {"type": "image", "path": ")" + path +
            R"(", "layout": ")" + name + R"("}})");
  std::filesystem::remove(path);
  ASSERT_FALSE(result.fellBack);
  if (GetParam().layout != Layout::openexr) {
    EXPECT_EQ(
        std::memcmp(result.map->pixels.data(), map.pixels.data(), map.pixels.size() * sizeof(hdri::Rgb)), 0);
  }
  hdri::EnvImage again = *result.map;
  toLayout(again, GetParam().layout);
  expectSixPins(again, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, Renderers,
                         testing::Values(Renderer{Layout::openexr, openexr, {0, 1, 0}, true},
                                         Renderer{Layout::usd, openexr, {0, 1, 0}, true},
                                         Renderer{Layout::blender, blender, {0, 0, 1}, true},
                                         Renderer{Layout::mitsuba, mitsuba, {0, 1, 0}, true},
                                         Renderer{Layout::pbrt, pbrt, {0, 0, 1}, false},
                                         Renderer{Layout::three, three, {0, 1, 0}, true}),
                         [](const auto& renderer) { return std::string(nameOf(renderer.param.layout)); });

/// Column x holds x in red, row y holds y in green.
hdri::EnvImage numbered(int width, int height) {
  hdri::EnvImage map(width, height);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    const auto columns = static_cast<std::size_t>(width);
    map.pixels[i] = {static_cast<float>(i % columns), static_cast<float>(i / columns), 0};
  }
  return map;
}

TEST(ToLayout, MovesWholeColumnsWhereTheWidthAllows) {
  for (const auto& [layout, columns] : {std::pair{Layout::native, 0},
                                        {Layout::usd, 2},
                                        {Layout::blender, 0},
                                        {Layout::mitsuba, 2},
                                        {Layout::pbrt, 4},
                                        {Layout::three, 0}}) {
    EXPECT_TRUE(movesWholeColumns(layout, 8));
    hdri::EnvImage map = numbered(8, 3);
    toLayout(map, layout);
    for (std::size_t i = 0; i < map.pixels.size(); ++i) {
      EXPECT_EQ(map.pixels[i].r, static_cast<float>((i + static_cast<std::size_t>(columns)) % 8));
      EXPECT_EQ(map.pixels[i].g, static_cast<float>(i / 8));
    }
  }
}

TEST(ToLayout, InterpolatesWhereAColumnWouldHaveToBeParted) {
  // A quarter of 6 columns is 1.5: halfway between columns 1 and 2; the last two lie across the seam.
  EXPECT_FALSE(movesWholeColumns(Layout::usd, 6));
  hdri::EnvImage map = numbered(6, 1);
  toLayout(map, Layout::usd);
  const float expected[] = {1.5f, 2.5f, 3.5f, 4.5f, 2.5f, 0.5f};
  for (std::size_t x = 0; x < 6; ++x) EXPECT_FLOAT_EQ(map.pixels[x].r, expected[x]) << x;
  // Half of 5 is 2.5.
  EXPECT_FALSE(movesWholeColumns(Layout::pbrt, 5));
  map = numbered(5, 1);
  toLayout(map, Layout::pbrt);
  EXPECT_FLOAT_EQ(map.pixels[0].r, 2.5f);
  EXPECT_FLOAT_EQ(map.pixels[2].r, 2.0f);
}

TEST(ToLayout, PutsOpenExrsSamplesOnTheEdges) {
  // z and x of directions, which are smooth: a chord errs by (2 pi / 256)^2 / 8 across and half of that down.
  hdri::EnvImage map(256, 128);
  for (int y = 0; y < 128; ++y)
    for (int x = 0; x < 256; ++x) {
      const double a = ((x + 0.5) / 256 - 0.5) * 2 * kPi, e = (0.5 - (y + 0.5) / 128) * kPi;
      map.pixels[static_cast<std::size_t>(y * 256 + x)] = {static_cast<float>(std::cos(a) * std::cos(e)),
                                                           static_cast<float>(std::sin(a) * std::cos(e)),
                                                           static_cast<float>(std::sin(e))};
    }
  toLayout(map, Layout::openexr);
  for (int y = 0; y < 128; ++y)
    for (int x = 0; x < 256; ++x) {
      // Its direction of a sample: latitude from pi/2 down, longitude from pi down; ours is (x, z, y) of it.
      const double latitude = kPi / 2 - kPi * y / 127, longitude = kPi - 2 * kPi * x / 255;
      const hdri::Rgb& found = map.pixels[static_cast<std::size_t>(y * 256 + x)];
      ASSERT_NEAR(found.r, std::sin(longitude) * std::cos(latitude), 2e-4) << x << " " << y;
      ASSERT_NEAR(found.g, std::cos(longitude) * std::cos(latitude), 2e-4) << x << " " << y;
      ASSERT_NEAR(found.b, std::sin(latitude), 2e-4) << x << " " << y;
    }
}

TEST(ToLayout, TakesTheSmallestMaps) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 3}, {3, 1}, {2, 1}, {2, 2}})
    for (const NameRow& row : kNames<Layout>) {
      hdri::EnvImage map(width, height);
      std::fill(map.pixels.begin(), map.pixels.end(), hdri::Rgb{2, 3, 4});
      toLayout(map, static_cast<Layout>(row.value));
      for (const hdri::Rgb& pixel : map.pixels) EXPECT_EQ(pixel, (hdri::Rgb{2, 3, 4}));
    }
}

class LayoutFiles : public testing::Test {
 protected:
  LayoutFiles() : path_(testing::TempDir() + "orv_layout_file_" + std::to_string(::getpid()) + ".exr") {}
  ~LayoutFiles() override { std::filesystem::remove(path_); }

  void save(const hdri::EnvImage& map, Layout layout) {
    OutputFile file(path_);
    writeMap(map, file, *mapFormatOf(path_), {.layout = layout});
    file.commit();
  }
  std::string path_;
};

TEST_F(LayoutFiles, BrightestPixelIsTracedBackToOurDirections) {
  // The pixel right of the middle and above it, of 8 x 4: longitude 22.5, latitude 22.5.
  hdri::EnvImage map(8, 4);
  std::fill(map.pixels.begin(), map.pixels.end(), hdri::Rgb{0, 0, 0});
  map.pixels[8 * 1 + 4] = {1, 1, 1};
  for (const Layout layout : {Layout::native, Layout::usd, Layout::mitsuba, Layout::pbrt, Layout::three}) {
    hdri::EnvImage turned = map;
    toLayout(turned, layout);
    save(turned, layout);
    const MapInfo info = readMapInfo(path_, layout);
    EXPECT_DOUBLE_EQ(info.brightestLongitude, 22.5) << nameOf(layout);
    EXPECT_DOUBLE_EQ(info.brightestLatitude, 22.5) << nameOf(layout);
  }
}

TEST_F(LayoutFiles, TheMeanOfOpenExrsSamplesCountsPolesAndEndsByWhatTheyCover) {
  // 5 x 3 samples: rows at 90, 0 and -90 degrees cover 1 - sin 45, 2 sin 45 and 1 - sin 45 of 2; columns
  // cover 1/8, 1/4, 1/4, 1/4, 1/8. Only the first sample of the equator is lit.
  hdri::EnvImage map(5, 3);
  std::fill(map.pixels.begin(), map.pixels.end(), hdri::Rgb{0, 0, 0});
  map.pixels[5] = {1, 0, 0};
  save(map, Layout::openexr);
  const MapInfo info = readMapInfo(path_, Layout::openexr);
  EXPECT_NEAR(info.mean[0], std::sqrt(0.5) / 8, 1e-12);
  // Longitude pi of OpenEXR is -z, left of who looks along +x with y up.
  EXPECT_DOUBLE_EQ(info.brightestLongitude, -90);
  EXPECT_DOUBLE_EQ(info.brightestLatitude, 0);
}

/// The number of an operation in a layer's text.
double operation(const std::string& text, const std::string& name) {
  std::smatch found;
  EXPECT_TRUE(std::regex_search(text, found, std::regex("float xformOp:" + name + " = (-?[0-9.]+)\n")));
  return found.size() > 1 ? std::stod(found[1]) * kPi / 180 : 0;
}

TEST(DomeLight, ShowsTheSphereInAStageWithZUpWhateverTheMapsLayout) {
  for (const NameRow& row : kNames<Layout>) {
    const auto layout = static_cast<Layout>(row.value);
    SCOPED_TRACE(row.name);
    const std::string text = domeLightText("a.exr", layout);
    EXPECT_NE(text.find("upAxis = \"Z\""), std::string::npos);
    EXPECT_NE(text.find("token inputs:texture:format = \"latlong\""), std::string::npos);
    EXPECT_NE(text.find("[\"xformOp:rotateX\", \"xformOp:rotateY\"]"), std::string::npos);
    // The last operation is done first: world = X(x) Y(y) dome, so dome = Y(-y) X(-x) world.
    const double x = -operation(text, "rotateX"), y = -operation(text, "rotateY");
    const auto inDome = [&](const Vector& w) {
      const Vector d{w.x, w.y * std::cos(x) - w.z * std::sin(x), w.y * std::sin(x) + w.z * std::cos(x)};
      return openexr({d.x * std::cos(y) + d.z * std::sin(y), std::clamp(d.y, -1.0, 1.0),
                      -d.x * std::sin(y) + d.z * std::cos(y)});
    };
    hdri::EnvImage map = sixPins(64, 32);
    toLayout(map, layout);
    expectSixPins(map, {layout, inDome, {0, 0, 1}, true});
  }
}

TEST(DomeLight, PathsWithAnAtSignAreQuotedThrice) {
  EXPECT_NE(domeLightText("./a@b.exr", Layout::usd).find("= @@@./a@b.exr@@@\n"), std::string::npos);
  EXPECT_NE(domeLightText("./ab.exr", Layout::usd).find("= @./ab.exr@\n"), std::string::npos);
}

}  // namespace
}  // namespace orv::scene
