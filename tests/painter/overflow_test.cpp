// Scenes of finite numbers, however large, give pixels that are finite.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kMost = std::numeric_limits<float>::max();

constexpr float kExtremes[] = {0,      1,     -1,     kMost,  -kMost,  1e38f, -1e38f, 3e37f,
                               -3e37f, 1e20f, 1e-38f, 1e-45f, 8.5e37f, 0.5f,  2,      100};

/// Scenes whose numbers are ordinary, or as large and as small as floats are.
class ExtremeScenes {
 public:
  explicit ExtremeScenes(unsigned seed) : random_(seed) {}

  float number() { return kExtremes[random_() % std::size(kExtremes)]; }
  float within(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random_); }
  bool flip() { return random_() % 2 == 0; }
  std::size_t below(std::size_t n) { return random_() % n; }

  void adjust(Brush& brush) {
    Adjustments& a = brush.adjustments();
    if (flip()) a.brightness = number();
    if (flip()) a.gamma = flip() ? within(0.1f, 5) : std::abs(number());
    if (flip()) a.hueShift = within(0, 1);
    if (flip()) a.saturation = within(-1, 1);
    if (flip()) a.tintRed = number();
    if (flip()) a.tintGreen = number();
    if (flip()) a.tintBlue = number();
    if (flip()) brush.setBlurAmount(flip() ? within(0, 60) : std::abs(number()));
    brush.setBlurOnSphere(flip());
    if (flip()) brush.setTiltAngles(within(0, 360), within(-180, 180));
    brush.setMode(static_cast<BlendMode>(below(4)));
  }

  std::shared_ptr<Brush> gradient() {
    auto brush = std::make_shared<GradientBrush>();
    std::vector<GradientStop> stops;
    std::vector<CurveStop> curve;
    float position = 0;
    for (std::size_t n = 1 + below(12); n > 0; --n) {
      position += flip() ? within(0, 0.3f) : 0;
      stops.push_back({position, number(), number(), number(), number(), number(), number()});
      curve.push_back({position, number(), number(), number()});
    }
    brush->setStops(stops);
    if (flip()) brush->setCurve(curve);
    adjust(*brush);
    return brush;
  }
  std::shared_ptr<Brush> color() {
    auto brush = std::make_shared<ColorBrush>(number(), number(), number());
    adjust(*brush);
    return brush;
  }
  std::shared_ptr<Brush> background() {
    std::shared_ptr<Brush> brush = std::make_shared<ImageBrush>("huge.exr");
    if (below(3) == 0) brush = std::make_shared<SunSkyBrush>();
    if (below(6) == 0) return gradient();
    if (below(6) == 0) return color();
    adjust(*brush);
    return brush;
  }
  std::shared_ptr<Brush> fill() {
    std::shared_ptr<Brush> brush;
    switch (below(4)) {
      case 0:
        return color();
      case 1:
        return gradient();
      case 2:
        brush = std::make_shared<ImageBrush>("huge.exr");
        break;
      default:
        brush = std::make_shared<BackgroundBrush>(within(-180, 180), within(-90, 90));
    }
    adjust(*brush);
    return brush;
  }

 private:
  std::mt19937 random_;
};

TEST(Overflow, NoSceneOfFiniteNumbersGivesAPixelThatIsNotFinite) {
  FakeHost& host = FakeHost::instance();
  host.reset();
  auto* const painter = static_cast<BlockedPainter*>(createAVX2Painter());
  painter->setScene(host.scene());
  for (unsigned seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(seed);
    ExtremeScenes scenes(seed);
    const std::int32_t width = 1 + static_cast<std::int32_t>(scenes.below(40));
    const std::int32_t height = 1 + static_cast<std::int32_t>(scenes.below(20));
    const auto imageWidth = static_cast<std::uint32_t>(scenes.flip() ? width : 7);
    const auto imageHeight = static_cast<std::uint32_t>(imageWidth == 7 ? 3 : height);
    std::vector<float> pixels(std::size_t{3} * imageWidth * imageHeight);
    for (float& channel : pixels) channel = scenes.number();
    host.images["huge.exr"] = std::make_unique<FakeImage>(imageWidth, imageHeight, std::move(pixels));
    host.images["huge.exr"]->onLookup =
        host.images["huge.exr"]->onLookupFiltered = [](orvImage_lookup& lookup) {
          // Called from any thread.
          auto i = static_cast<std::size_t>(lookup.u * 1000 + lookup.v * 300000);
          for (float& channel : lookup.rgba) channel = kExtremes[i++ % std::size(kExtremes)];
        };
    host.sky = std::make_unique<FakeSky>();
    host.sky->onRender = [&scenes](float* rgb, std::uint32_t columns, std::uint32_t rows) {
      for (std::size_t i = 0; i < std::size_t{3} * columns * rows; ++i) rgb[i] = scenes.number();
    };

    painter->setSize(width, height);
    painter->setOptions({.smoothing = static_cast<std::uint8_t>(scenes.flip()), .keepBackground = 0});
    ASSERT_TRUE(painter->setBackground(*scenes.background()));
    for (std::size_t n = scenes.below(5); n > 0; --n) {
      CirclePinParams circle;
      circle.radius = scenes.within(0.1f, std::numbers::pi_v<float>);
      constexpr Falloff kKinds[] = {Falloff::circleCosine,
                                    Falloff::circleLinear,
                                    Falloff::circleQuadratic,
                                    Falloff::circleSmoothEdge,
                                    Falloff::circleGaussianEdge,
                                    Falloff::outline,
                                    Falloff::solid};
      circle.falloffKind = kKinds[scenes.below(std::size(kKinds))];
      circle.falloffAmount = scenes.flip() ? scenes.within(0, 1) : std::abs(scenes.number());
      ASSERT_TRUE(painter->addCirclePin(circle, *scenes.fill()));
    }
    const auto map = painter->paint();
    ASSERT_TRUE(map);
    for (const Rgb& pixel : map->pixels)
      ASSERT_TRUE(std::isfinite(pixel.r) && std::isfinite(pixel.g) && std::isfinite(pixel.b))
          << pixel.r << ' ' << pixel.g << ' ' << pixel.b;
    painter->clear();
  }
  destroyAVX2Painter(painter);
  host.reset();
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
