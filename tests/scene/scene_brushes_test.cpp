#include "scene/scene_brushes.h"

#include <gtest/gtest.h>

#include <numbers>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"

namespace orv::scene {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;

TEST(CircleParams, AreRadians) {
  ScenePin pin;
  pin.azimuth = -180;
  pin.elevation = 45;
  pin.rotation = 30;
  pin.half = true;
  pin.falloffAmount = 0.25f;
  const hdri::CirclePinParams params = pinParams(pin, CircleShape{90, hdri::Falloff::circleSmoothEdge});
  EXPECT_NEAR(params.azimuth, -kPi, 1e-6f);
  EXPECT_NEAR(params.elevation, kPi / 4, 1e-6f);
  EXPECT_NEAR(params.radius, kPi / 2, 1e-6f);
  EXPECT_NEAR(params.rotation, kPi / 6, 1e-6f);
  EXPECT_EQ(params.half, 1u);
  EXPECT_EQ(params.falloffKind, hdri::Falloff::circleSmoothEdge);
  EXPECT_EQ(params.falloffAmount, 0.25f);
}

TEST(RectParams, AreRadians) {
  ScenePin pin;
  pin.azimuth = 18;
  const hdri::RectPinParams params = pinParams(pin, RectShape{60, 30, 9});
  EXPECT_NEAR(params.azimuth, kPi / 10, 1e-6f);
  EXPECT_NEAR(params.halfWidth, kPi / 3, 1e-6f);
  EXPECT_NEAR(params.halfHeight, kPi / 6, 1e-6f);
  EXPECT_NEAR(params.cornerRadius, kPi / 20, 1e-6f);
  EXPECT_EQ(params.half, 0u);
  EXPECT_EQ(params.falloffKind, hdri::Falloff::solid);
}

TEST(BackgroundBrush, CarriesAdjustmentsBlurAndRotationInDegrees) {
  const ImageBackground image{"a.exr", {2, 3, 0.5f, -0.5f, 4, 5, 6}, {7, {350, -20}}};
  const auto made = backgroundBrush({image}, "folder");
  EXPECT_EQ(made->kind(), hdri::BrushKind::image);
  EXPECT_EQ(made->adjustments(), image.adjustments);
  EXPECT_EQ(made->blurAmount(), 7.0f);
  EXPECT_EQ(made->tiltAngle1(), 350.0f);
  EXPECT_EQ(made->tiltAngle2(), -20.0f);
  EXPECT_TRUE(made->mapSettingsOn());
}

TEST(PinParams, TakeAzimuthsModuloATurn) {
  const auto azimuthOf = [](float degrees) {
    ScenePin pin;
    pin.azimuth = degrees;
    return pinParams(pin, CircleShape{}).azimuth;
  };
  EXPECT_EQ(azimuthOf(270), azimuthOf(-90));
  EXPECT_EQ(azimuthOf(-350), azimuthOf(10));
  EXPECT_EQ(azimuthOf(360), 0);
  EXPECT_NEAR(azimuthOf(180), kPi, 1e-6f) << "both ends of the seam stay";
  EXPECT_NEAR(azimuthOf(-180), -kPi, 1e-6f);
}

TEST(BackgroundBrush, TakesAzimuthsModuloATurn) {
  for (const auto& [given, turned] :
       {std::pair{-90.0f, 270.0f}, {-360.0f, 0.0f}, {360.0f, 360.0f}, {-0.5f, 359.5f}}) {
    const ImageBackground image{"a.exr", {}, {0, {given, 0}}};
    EXPECT_EQ(backgroundBrush({image}, "")->tiltAngle1(), turned) << given;
    const ImageBackground usd{"a.exr", {}, {0, {given, 0}}, Layout::usd};
    const ImageBackground same{"a.exr", {}, {0, {turned, 0}}, Layout::usd};
    EXPECT_EQ(backgroundBrush({usd}, "")->tiltAngle1(), backgroundBrush({same}, "")->tiltAngle1()) << given;
  }
}

TEST(BackgroundBrush, TurnsAPictureInAForeignLayout) {
  ImageBackground image{"a.exr", {}, {0, {100, -20}}, Layout::usd};
  // Our middle is at the left quarter of the picture: 90 degrees less.
  EXPECT_NEAR(backgroundBrush({image}, "")->tiltAngle1(), 10, 2e-4f);
  EXPECT_EQ(backgroundBrush({image}, "")->tiltAngle2(), -20.0f);
  image.map.rotation.azimuth = 30;
  EXPECT_NEAR(backgroundBrush({image}, "")->tiltAngle1(), 300, 2e-4f);
  image.layout = Layout::three;
  EXPECT_EQ(backgroundBrush({image}, "")->tiltAngle1(), 30.0f);
}

TEST(ImageBrush, IsSoughtInTheScenesFolder) {
  Fill brush{hdri::BlendMode::mix, ImageFill{"maps/a.exr", {}}};
  const auto pathFrom = [&](const std::string& folder) {
    return static_cast<const hdri::ImageBrush&>(*fillBrush(brush, folder)).path();
  };
  EXPECT_EQ(pathFrom("/scenes"), "/scenes/maps/a.exr");
  EXPECT_EQ(pathFrom(""), "maps/a.exr");
  brush.paint = ImageFill{"/absolute/a.exr", {}};
  EXPECT_EQ(pathFrom("/scenes"), "/absolute/a.exr");
}

TEST(BackgroundBrush, CarriesTheStopsOfAGradient) {
  GradientPaint paint;
  paint.stops = {{0.5f, 1, 1, 2, 3, 4, 5}};
  paint.adjustments.hueShift = 0.5f;
  const auto made = backgroundBrush({paint}, "");
  EXPECT_EQ(static_cast<const hdri::GradientBrush&>(*made).stops(), paint.stops);
  EXPECT_EQ(made->adjustments(), paint.adjustments);
}

TEST(FillBrush, CarriesModeColorAndBrightness) {
  const auto made = fillBrush({hdri::BlendMode::screen, ColorPaint{{1, 2, 3}, 4}}, "");
  EXPECT_EQ(made->mode(), hdri::BlendMode::screen);
  EXPECT_FALSE(made->mapSettingsOn());
  EXPECT_EQ(static_cast<const hdri::ColorBrush&>(*made).color(), (hdri::Rgb{1, 2, 3}));
  EXPECT_EQ(made->adjustments(), (hdri::Adjustments{.brightness = 4}));
}

TEST(FillBrush, CarriesStopsOpacityAndAngle) {
  GradientFill paint;
  paint.gradient.stops = {{0.5f, 1, 1, 2, 3, 4, 5}};
  paint.gradient.adjustments.gamma = 2;
  paint.opacity = {{0.25f, 0, 1, 0.75f}};
  paint.angle = 30;
  const auto made = fillBrush({hdri::BlendMode::mix, paint}, "");
  EXPECT_EQ(made->adjustments(), paint.gradient.adjustments);
  const auto& gradient = static_cast<const hdri::GradientBrush&>(*made);
  EXPECT_EQ(gradient.stops(), paint.gradient.stops);
  EXPECT_EQ(gradient.curve(), paint.opacity);
  EXPECT_EQ(gradient.angle(), 30.0f);
}

TEST(FillBrush, CarriesTheBackgroundsRotationInDegrees) {
  const auto made = fillBrush({hdri::BlendMode::mix, BackgroundFill{120, -30, {}}}, "");
  EXPECT_EQ(static_cast<const hdri::BackgroundBrush&>(*made).turn(), 120.0f);
  EXPECT_EQ(static_cast<const hdri::BackgroundBrush&>(*made).tilt(), -30.0f);
}

TEST(SunSkyBrush, CarriesTheSettings) {
  SunSkyBackground paint;
  paint.settings.turbidity = 5;
  paint.settings.sunFromAngles = 1;
  paint.settings.sunElevation = 12;
  paint.map.blur = 3;
  const auto made = backgroundBrush({paint}, "");
  EXPECT_EQ(made->blurAmount(), 3.0f);
  EXPECT_EQ(static_cast<const hdri::SunSkyBrush&>(*made).settings(), paint.settings);
}

}  // namespace
}  // namespace orv::scene
