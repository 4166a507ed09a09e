// Whole paints of sun-and-sky backgrounds, by the painter in the reference host.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>

#include "hdri/IPainter.h"
#include "hdri/SunSkyBrush.h"
#include "host/BrushOwner.h"
#include "orvrender/orvHost.h"

namespace orv::hdri {
namespace {

constexpr double kPi = 3.14159265358979323846;

class SkyPaint : public testing::Test {
 protected:
  SkyPaint() : scene_(orv_scene_create({})), painter_(createAVX2Painter()) {
    painter_->setScene(scene_);
    brush_->settings().sunFromAngles = 1;
  }
  ~SkyPaint() override {
    destroyAVX2Painter(painter_);
    orv_scene_destroy(scene_);
  }
  SkyPaint(const SkyPaint&) = delete;
  SkyPaint& operator=(const SkyPaint&) = delete;

  void setSun(double azimuth, double elevation) {
    brush_->settings().sunAzimuth = static_cast<float>(azimuth);
    brush_->settings().sunElevation = static_cast<float>(elevation);
  }
  std::shared_ptr<EnvImage> paint(std::int32_t width) {
    painter_->setSize(width, width / 2);
    EXPECT_TRUE(painter_->setBackground(*brush_));
    return painter_->paint();
  }

  orvScene* scene_;
  IPainter* painter_;
  std::shared_ptr<SunSkyBrush> brush_ = std::make_shared<SunSkyBrush>();
};

double luminance(const Rgb& c) {
  return 0.2126 * static_cast<double>(c.r) + 0.7152 * static_cast<double>(c.g) +
         0.0722 * static_cast<double>(c.b);
}

std::pair<double, double> brightest(const EnvImage& map) {
  const auto most = std::max_element(map.pixels.begin(), map.pixels.end(),
                                     [](const Rgb& a, const Rgb& b) { return luminance(a) < luminance(b); });
  const auto i = most - map.pixels.begin();
  return {static_cast<double>(i % map.width), static_cast<double>(i / map.width)};
}

double distanceAround(double a, double b, double period) { return std::abs(std::remainder(a - b, period)); }

TEST_F(SkyPaint, TheBrightestPixelIsTheSun) {
  const std::pair<double, double> suns[] = {{0, 10},   {45, 20},   {90, 5},    {135, 35},
                                            {179, 45}, {-179, 50}, {-135, 15}, {-90, 60},
                                            {-45, 70}, {12, 30},   {-120, 35}, {77, 3}};
  for (const auto& [azimuth, elevation] : suns) {
    setSun(azimuth, elevation);
    const auto map = paint(512);
    const auto [column, row] = brightest(*map);
    EXPECT_LE(distanceAround(column, (azimuth / 360 + 0.5) * 512 - 0.5, 512), 1)
        << azimuth << ", " << elevation;
    EXPECT_NEAR(row, (0.5 - elevation / 180) * 256 - 0.5, 1) << azimuth << ", " << elevation;
  }
}

/// Luminance over the whole sphere.
double light(const EnvImage& map) {
  double sum = 0;
  for (std::int32_t y = 0; y < map.height; ++y) {
    const double top = std::sin((0.5 - static_cast<double>(y) / map.height) * kPi);
    const double bottom = std::sin((0.5 - (y + 1.0) / map.height) * kPi);
    double row = 0;
    for (std::int32_t x = 0; x < map.width; ++x)
      row += luminance(map.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(map.width) +
                                  static_cast<std::size_t>(x)]);
    sum += row * 2 * kPi / map.width * (top - bottom);
  }
  return sum;
}

TEST_F(SkyPaint, ItsLightDoesNotDependOnTheMapsSize) {
  setSun(30, 40);
  const double expected = light(*paint(256));
  for (const std::int32_t width : {512, 1024, 4096})
    EXPECT_NEAR(light(*paint(width)), expected, 0.02 * expected);
}

TEST_F(SkyPaint, RotatingTheSphereByTheSunsAzimuthBringsItToTheMiddle) {
  setSun(90, 20);
  brush_->setTiltAngles(90, 0);
  const auto [column, row] = brightest(*paint(512));
  EXPECT_NEAR(column, 255.5, 1);
  EXPECT_NEAR(row, (0.5 - 20.0 / 180) * 256 - 0.5, 1);
}

TEST_F(SkyPaint, TheBrushMayGoBeforeThePaint) {
  setSun(90, 20);
  painter_->setSize(64, 32);
  ASSERT_TRUE(painter_->setBackground(*brush_));
  const auto expected = painter_->paint();
  brush_.reset();
  EXPECT_TRUE(std::ranges::equal(painter_->paint()->pixels, expected->pixels));
}

TEST_F(SkyPaint, ABrushOnTheStackMayGoToo) {
  {
    SunSkyBrush brush;
    painter_->setSize(64, 32);
    ASSERT_TRUE(painter_->setBackground(brush));
  }
  EXPECT_GT(painter_->paint()->pixels.front().b, 0.1f);
}

TEST_F(SkyPaint, ASceneWithoutASkyIsRed) {
  orvScene* bare = orv_scene_create({.sky = false});
  orv_log_set_listener([](void*, const char*) {}, nullptr);
  painter_->setScene(bare);
  painter_->setSize(8, 4);
  EXPECT_FALSE(painter_->setBackground(*brush_));
  EXPECT_EQ(painter_->paint()->pixels[9], (Rgb{1, 0, 0}));
  orv_log_set_listener(nullptr, nullptr);
  painter_->setScene(scene_);
  orv_scene_destroy(bare);
}

// By the defaults the sun stands at compass 120.878, 57.194 degrees up: at longitude -59.122.
TEST_F(SkyPaint, WithoutAnglesTheSunFollowsPlaceAndTime) {
  brush_->settings().sunFromAngles = 0;
  const auto [column, row] = brightest(*paint(512));
  EXPECT_NEAR(column, (-59.122 / 360 + 0.5) * 512 - 0.5, 1);
  EXPECT_NEAR(row, (0.5 - 57.194 / 180) * 256 - 0.5, 1);
}

TEST_F(SkyPaint, AnAnimatedHourLeavesTheSunToTheHost) {
  struct Owner : BrushOwner {};
  setSun(90, 20);
  const auto owner = std::make_shared<Owner>();
  brush_->setOwner(owner);
  orvNode* node = brush_->hostNode(scene_);
  ASSERT_NE(node, nullptr);
  orv_node_set_animated(node, "hours", true);
  const auto [column, row] = brightest(*paint(512));
  EXPECT_NEAR(column, (-59.122 / 360 + 0.5) * 512 - 0.5, 1);
  EXPECT_NEAR(row, (0.5 - 57.194 / 180) * 256 - 0.5, 1);
}

}  // namespace
}  // namespace orv::hdri
