#include "scene/preview_sheet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "scene/pixel_text.h"
#include "scene/tone_map.h"

namespace orv::scene {
namespace {

// Where the middles of the balls lie.
constexpr int kMirror = 170, kDiffuse = 512, kGlossy = 853, kRow = 680;

hdri::EnvImage filled(const hdri::Rgb& pixel) {
  hdri::EnvImage map(64, 32);
  std::fill(map.pixels.begin(), map.pixels.end(), pixel);
  return map;
}

const hdri::Rgb& at(const hdri::EnvImage& picture, int x, int y) {
  return picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                        static_cast<std::size_t>(x)];
}

void expectNear(const hdri::Rgb& found, const hdri::Rgb& expected) {
  EXPECT_NEAR(found.r, expected.r, 1e-4);
  EXPECT_NEAR(found.g, expected.g, 1e-4);
  EXPECT_NEAR(found.b, expected.b, 1e-4);
}

TEST(PreviewSheet, IsOneSizeForAllMaps) {
  for (const int width : {1, 3000}) {
    hdri::EnvImage map(width, (width + 1) / 2);
    std::fill(map.pixels.begin(), map.pixels.end(), hdri::Rgb{1, 1, 1});
    const hdri::EnvImage sheet = previewSheet(map, {});
    EXPECT_EQ(sheet.width, 1024);
    EXPECT_EQ(sheet.height, 900);
  }
}

TEST(PreviewSheet, BallsInAnEvenLightAreEven) {
  const hdri::EnvImage sheet = previewSheet(filled({0.1f, 0.2f, 0.3f}), {.exposureStops = 1});
  expectNear(at(sheet, 300, 200), {0.2f, 0.4f, 0.6f});
  for (const int offset : {-130, -60, 0, 77, 140}) {
    expectNear(at(sheet, kMirror + offset, kRow), {0.2f, 0.4f, 0.6f});
    expectNear(at(sheet, kGlossy, kRow + offset), {0.2f, 0.4f, 0.6f});
    // Half of the light comes back.
    expectNear(at(sheet, kDiffuse + offset, kRow), {0.1f, 0.2f, 0.3f});
  }
}

TEST(PreviewSheet, TheMiddleOfTheMirrorBallShowsTheMiddleOfTheMap) {
  hdri::EnvImage map = filled({0.1f, 0.1f, 0.1f});
  // Four pixels about longitude 0, latitude 0; and about longitude 90, to the right on the map.
  for (const std::size_t row : {std::size_t{15}, std::size_t{16}}) {
    map.pixels[row * 64 + 31] = map.pixels[row * 64 + 32] = {0.7f, 0, 0};
    map.pixels[row * 64 + 47] = map.pixels[row * 64 + 48] = {0, 0.7f, 0};
  }
  const int side = static_cast<int>(144 * std::sqrt(0.5));
  const hdri::EnvImage away = previewSheet(map, {});
  EXPECT_NEAR(at(away, kMirror, kRow).r, 0.7, 0.01);
  EXPECT_NEAR(at(away, kMirror - side, kRow).g, 0.7, 0.01) << "a mirror turns left and right about";
  EXPECT_GT(at(away, kDiffuse, kRow).r, at(away, kDiffuse, kRow - 140).r) << "the light is in front";
  const hdri::EnvImage along = previewSheet(map, {.cameraAzimuth = 0});
  EXPECT_NEAR(at(along, kMirror + side, kRow).g, 0.7, 0.01) << "the right of the map is to the right";
}

TEST(PreviewSheet, MapAndBallsAreToneMapped) {
  const hdri::Rgb light = {3, 1.5f, 0.5f};
  const hdri::EnvImage sheet = previewSheet(filled(light), {});
  expectNear(at(sheet, 10, 10), toneCurve(light));
  expectNear(at(sheet, kMirror, kRow), toneCurve(light));
  expectNear(at(sheet, kDiffuse, kRow), toneCurve({1.5f, 0.75f, 0.25f}));
}

/// Whether the pictures differ in the lines from `top` on.
bool differBelow(const hdri::EnvImage& a, const hdri::EnvImage& b, int top) {
  const auto first = static_cast<std::ptrdiff_t>(top) * a.width;
  return !std::equal(a.pixels.begin() + first, a.pixels.end(), b.pixels.begin() + first);
}

TEST(PreviewSheet, TheCaptionTellsNameAndExposure) {
  const hdri::EnvImage map = filled({0.1f, 0.1f, 0.1f});
  const hdri::EnvImage plain = previewSheet(map, {.name = "a.exr"});
  EXPECT_FALSE(differBelow(previewSheet(map, {.name = "a.exr"}), plain, 860));
  EXPECT_TRUE(differBelow(previewSheet(map, {.name = "b.exr"}), plain, 860));
  EXPECT_TRUE(differBelow(previewSheet(map, {.name = "a.exr", .exposureStops = 0.01f}), plain, 860));
  EXPECT_TRUE(differBelow(previewSheet(map, {.name = "a.exr", .automatic = true}), plain, 860));
}

TEST(PreviewSheet, ALongNameIsCut) {
  const hdri::EnvImage map = filled({0.1f, 0.1f, 0.1f});
  const hdri::EnvImage sheet = previewSheet(map, {.name = std::string(300, 'x')});
  // As with one x less: both are cut to the same.
  EXPECT_FALSE(differBelow(sheet, previewSheet(map, {.name = std::string(299, 'x')}), 860));
}

TEST(DrawText, DrawsLettersInSquares) {
  hdri::EnvImage picture(12, 9);
  std::fill(picture.pixels.begin(), picture.pixels.end(), hdri::Rgb{0, 0, 0});
  drawText(picture, "1L", 0, 0, 1, {1, 1, 1});
  std::string rows;
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 12; ++x) rows += at(picture, x, y).r > 0 ? '#' : '.';
    rows += '\n';
  }
  EXPECT_EQ(rows,
            "..#...#.....\n"
            ".##...#.....\n"
            "..#...#.....\n"
            "..#...#.....\n"
            "..#...#.....\n"
            "..#...#.....\n"
            ".###..#####.\n"
            "............\n"
            "............\n");
  EXPECT_EQ(textWidth("1L", 3), 33);
}

TEST(DrawText, CutsWhatLiesOutside) {
  hdri::EnvImage picture(2, 2);
  std::fill(picture.pixels.begin(), picture.pixels.end(), hdri::Rgb{0, 0, 0});
  drawText(picture, "HHH", -5, -1, 2, {1, 1, 1});
  drawText(picture, "\xC3\xA9", 1, 1, 9, {1, 1, 1});
  EXPECT_EQ(picture.pixels.size(), 4u);
}

}  // namespace
}  // namespace orv::scene
