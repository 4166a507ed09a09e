#include "support/reference/property_scenes.h"

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"

namespace reference {
namespace {

using namespace orv::hdri;

constexpr Falloff kCircleFalloffs[] = {Falloff::circleCosine,
                                       Falloff::circleLinear,
                                       Falloff::circleQuadratic,
                                       Falloff::circleSmoothEdge,
                                       Falloff::circleGaussianEdge,
                                       Falloff::outline,
                                       Falloff::solid};
constexpr Falloff kRectFalloffs[] = {Falloff::rectCosine,  Falloff::rectLinear,     Falloff::rectQuadratic,
                                     Falloff::rectBoxEdge, Falloff::rectBoxProduct, Falloff::rectBoxGaussian,
                                     Falloff::outline,     Falloff::solid};
constexpr float kAmounts[] = {0.0f, 0.3f, 1.0f, 1.5f};
constexpr BlendMode kModes[] = {BlendMode::add, BlendMode::multiply, BlendMode::mix, BlendMode::screen};

float rad(double degrees) { return static_cast<float>(degrees * std::numbers::pi / 180.0); }

std::shared_ptr<Brush> color(float r, float g, float b, BlendMode mode = BlendMode::mix) {
  auto brush = std::make_shared<ColorBrush>(r, g, b);
  brush->setMode(mode);
  return brush;
}

/// Three stops, two of them eased, and a curve that fades to the rim.
std::shared_ptr<GradientBrush> gradient(float angle = 0.0f, BlendMode mode = BlendMode::mix) {
  auto brush = std::make_shared<GradientBrush>();
  brush->setStops({{0.0f, 1.0f, 0.0f, 1.0f, 0.9f, 0.6f, 2.0f},
                   {0.4f, 0.0f, 1.5f, 0.2f, 0.5f, 1.0f, 1.0f},
                   {1.0f, 0.5f, 1.0f, 0.8f, 0.1f, 0.3f, 1.5f}});
  brush->setCurve({{0.1f, 1.0f, 0.0f, 1.0f}, {0.9f, 0.0f, 1.0f, 0.2f}});
  brush->setAngle(angle);
  brush->setMode(mode);
  return brush;
}

/// A smooth coloured picture.
Image picture(int width, int height) {
  Image image{width, height, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double u = (x + 0.5) / width * 2.0 * std::numbers::pi;
      const double v = (y + 0.5) / height * std::numbers::pi;
      image.rgb.push_back(static_cast<float>(0.6 + 0.4 * std::sin(u) * std::sin(v)));
      image.rgb.push_back(static_cast<float>(0.5 + 0.3 * std::cos(2.0 * u)));
      image.rgb.push_back(static_cast<float>(1.2 - v / std::numbers::pi));
    }
  return image;
}

Image plainImage(float r, float g, float b) {
  Image image{16, 8, {}};
  for (int i = 0; i < 16 * 8; ++i) image.rgb.insert(image.rgb.end(), {r, g, b});
  return image;
}

Scene emptyScene(int width, int height, bool smoothing) {
  Scene scene;
  scene.width = width;
  scene.height = height;
  scene.smoothing = smoothing;
  scene.background = color(0.2f, 0.35f, 0.5f);
  return scene;
}

CirclePinParams circle(double azimuth, double elevation, double radius) {
  return {.azimuth = rad(azimuth), .elevation = rad(elevation), .radius = rad(radius)};
}

RectPinParams rect(double azimuth, double elevation, double halfWidth, double halfHeight,
                   double rotation = 0) {
  return {.azimuth = rad(azimuth),
          .elevation = rad(elevation),
          .halfWidth = rad(halfWidth),
          .halfHeight = rad(halfHeight),
          .rotation = rad(rotation)};
}

class Scenes {
 public:
  void add(std::string name, Scene scene) { scenes_.push_back({std::move(name), std::move(scene)}); }

  /// The scene with and without smoothing.
  void addBoth(const std::string& name, std::vector<Pin> pins, int width = 128, int height = 64) {
    for (const bool smoothing : {false, true}) {
      Scene scene = emptyScene(width, height, smoothing);
      scene.pins = pins;
      add(name + (smoothing ? ", smooth" : ", hard"), std::move(scene));
    }
  }

  std::vector<NamedScene> take() { return std::move(scenes_); }

 private:
  std::vector<NamedScene> scenes_;
};

void addFalloffs(Scenes& scenes) {
  for (const float amount : kAmounts) {
    std::vector<Pin> circles;
    for (std::size_t i = 0; i < std::size(kCircleFalloffs); ++i) {
      CirclePinParams pin = circle(-155.0 + 50.0 * static_cast<double>(i), i % 2 ? 30.0 : -25.0, 23.0);
      pin.falloffKind = kCircleFalloffs[i];
      pin.falloffAmount = amount;
      circles.push_back({pin, color(1.5f, 1.0f, 0.5f)});
    }
    scenes.addBoth("every circle falloff at " + std::to_string(amount), circles);
    std::vector<Pin> rects;
    for (std::size_t i = 0; i < std::size(kRectFalloffs); ++i) {
      RectPinParams pin = rect(-157.0 + 44.0 * static_cast<double>(i), i % 2 ? 28.0 : -31.0, 21.0, 14.0,
                               12.0 * static_cast<double>(i));
      pin.falloffKind = kRectFalloffs[i];
      pin.falloffAmount = amount;
      rects.push_back({pin, color(0.5f, 1.0f, 1.5f)});
    }
    scenes.addBoth("every rectangle falloff at " + std::to_string(amount), rects);
  }
}

void addPlaces(Scenes& scenes) {
  scenes.addBoth("circle on the zenith", {{circle(30, 90, 25), color(1, 1, 1)}});
  scenes.addBoth("circle that holds the south pole", {{circle(-60, -75, 33), gradient()}});
  scenes.addBoth("circles over the seam",
                 {{circle(179, 20, 30), color(1, 1, 1)}, {circle(-176, -35, 21), gradient(30)}});
  scenes.addBoth("radius 170", {{circle(40, 15, 170), gradient()}});
  scenes.addBoth("radius 90 at a pole", {{circle(0, 90, 90), color(1, 0.5f, 0.25f)}});
  scenes.addBoth("rectangle on the zenith", {{rect(15, 90, 30, 20, 10), gradient(90)}});
  scenes.addBoth("rectangle that holds the south pole", {{rect(100, -80, 40, 22, 35), color(1, 1, 0)}});
  scenes.addBoth("rectangle over the seam", {{rect(-178, 12, 35, 18, -20), gradient(45)}});
  scenes.addBoth("wide rectangle", {{rect(20, 10, 80, 30), color(1, 1, 1)}});
  scenes.addBoth("tall rectangle at a pole", {{rect(-50, 60, 12, 75), color(1, 1, 1)}});
  scenes.addBoth("sub-pixel pins", {{circle(1.25, 1.5, 0.4), color(3, 3, 3)},
                                    {rect(-60, 30, 0.5, 0.3), color(3, 3, 3)},
                                    {circle(-90, 70, 0.01), color(3, 3, 3)}});
}

void addCuts(Scenes& scenes) {
  CirclePinParams halfCircle = circle(-40, 20, 35);
  halfCircle.rotation = rad(25);
  halfCircle.half = 1;
  scenes.addBoth("half circle", {{halfCircle, color(1, 1, 1)}});
  halfCircle.falloffKind = Falloff::circleGaussianEdge;
  halfCircle.falloffAmount = 0.3f;
  scenes.addBoth("half circle with a falloff and a gradient", {{halfCircle, gradient(60)}});

  RectPinParams halfRect = rect(50, -30, 40, 25, 15);
  halfRect.half = 1;
  scenes.addBoth("half rectangle", {{halfRect, color(1, 1, 1)}});
  halfRect.cornerRadius = rad(8);
  scenes.addBoth("half rectangle with round corners", {{halfRect, color(1, 1, 1)}});
  RectPinParams round = rect(-80, 35, 30, 30);
  round.cornerRadius = rad(30);
  scenes.addBoth("rectangle as round as can be", {{round, gradient()}});
  round.cornerRadius = 1e-5f;
  scenes.addBoth("corner radius at its threshold", {{round, color(1, 1, 1)}});
}

void addFills(Scenes& scenes) {
  for (const BlendMode mode : kModes) {
    const std::string name = "mode " + std::to_string(static_cast<unsigned>(mode));
    CirclePinParams soft = circle(-30, 15, 40);
    soft.falloffKind = Falloff::circleSmoothEdge;
    scenes.addBoth(name, {{soft, color(0.9f, 0.6f, 0.3f, mode)},
                          {rect(60, -20, 40, 25, 30), gradient(20, mode)},
                          {circle(140, 40, 30), color(-0.5f, 0.25f, 2.0f, mode)}});
  }

  auto adjusted = gradient(135);
  adjusted->adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1.0f, 0.8f, 0.6f};
  scenes.addBoth("gradients at all angles, adjusted", {{circle(-120, 10, 40), gradient(180)},
                                                       {rect(0, 0, 30, 40), gradient(-90)},
                                                       {rect(90, 20, 40, 20, 50), adjusted}});

  for (const bool smoothing : {false, true}) {
    Scene scene = emptyScene(160, 80, smoothing);
    scene.images["fill.pfm"] = smoothing ? plainImage(0.7f, 1.1f, 0.4f) : picture(31, 17);
    const auto image = std::make_shared<ImageBrush>("fill.pfm");
    image->setMode(BlendMode::mix);
    const auto tinted = std::static_pointer_cast<ImageBrush>(image->clone());
    tinted->adjustments() = {2.0f, 1.4f, 0.1f, -0.3f, 0.5f, 1.0f, 1.0f};
    tinted->setMode(BlendMode::add);
    scene.pins = {{rect(-90, 10, 50, 30, 20), image},
                  {circle(30, -20, 35), image},
                  {rect(120, 40, 30, 30, -70), tinted},
                  {circle(90, -70, 15), std::make_shared<ImageBrush>("missing.pfm")}};
    scenes.add(std::string("image fills") + (smoothing ? ", filtered" : ""), std::move(scene));
  }

  const auto rotated = [](float turn, float tilt) {
    auto brush = std::make_shared<BackgroundBrush>(turn, tilt);
    brush->setMode(BlendMode::mix);
    return brush;
  };
  std::vector<Pin> portals = {{circle(-100, 20, 40), rotated(0, 0)},
                              {rect(0, 0, 40, 30, 10), rotated(70, 0)},
                              {circle(100, -30, 35), rotated(0, 50)},
                              {rect(170, 40, 25, 35), rotated(-120, -75)},
                              {circle(20, 80, 25), rotated(200, 130)}};
  portals[1].fill = [&] {
    auto brush = std::static_pointer_cast<BackgroundBrush>(rotated(70, 0));
    brush->adjustments() = {1.5f, 1.0f, 0.0f, 0.0f, 1.0f, 0.5f, 0.25f};
    brush->setMode(BlendMode::add);
    return brush;
  }();
  for (const char* kind : {"colour", "gradient", "image"}) {
    Scene scene = emptyScene(128, 64, true);
    if (kind[0] == 'g') scene.background = gradient();
    if (kind[0] == 'i') {
      scene.images["sky.pfm"] = picture(128, 64);
      scene.background = std::make_shared<ImageBrush>("sky.pfm");
    }
    scene.pins = portals;
    scenes.add(std::string("background fills over a ") + kind, std::move(scene));
  }
}

void addSizes(Scenes& scenes) {
  const std::vector<Pin> pins = {{circle(20, 30, 60), gradient()},
                                 {rect(-100, -20, 50, 35, 20), color(1, 0.5f, 0.25f)},
                                 {circle(179, -40, 45), color(0.5f, 0.5f, 1.0f, BlendMode::add)}};
  constexpr int sizes[][2] = {{1, 1}, {1, 7},   {7, 1},   {2, 1},    {3, 5},    {8, 4},
                              {9, 9}, {13, 29}, {33, 17}, {100, 50}, {127, 63}, {250, 31}};
  for (const auto& [width, height] : sizes)
    scenes.addBoth(std::to_string(width) + "x" + std::to_string(height), pins, width, height);
}

void addCrowd(Scenes& scenes) {
  std::mt19937 random(7);
  const auto number = [&](double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
  };
  std::vector<Pin> pins;
  for (int i = 0; i < 60; ++i) {
    const double azimuth = number(-180, 180);
    const double elevation = number(-90, 90);
    const auto fill = color(static_cast<float>(number(0, 1)), static_cast<float>(number(0, 1)),
                            static_cast<float>(number(0, 1)), kModes[i % 4]);
    if (i % 2)
      pins.push_back({circle(azimuth, elevation, number(5, 50)), fill});
    else
      pins.push_back({rect(azimuth, elevation, number(5, 50), number(5, 50), number(0, 360)), fill});
  }
  scenes.addBoth("sixty overlapping pins", pins);
}

}  // namespace

std::vector<NamedScene> handWrittenScenes() {
  Scenes scenes;
  addFalloffs(scenes);
  addPlaces(scenes);
  addCuts(scenes);
  addFills(scenes);
  addSizes(scenes);
  addCrowd(scenes);
  return scenes.take();
}

NamedScene randomScene(unsigned seed) {
  std::mt19937 random(seed);
  const auto number = [&](double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
  };
  const auto pick = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
  const auto channel = [&] { return static_cast<float>(number(0, 1.5)); };

  constexpr int sizes[][2] = {{96, 48}, {64, 64}, {101, 50}, {200, 100}, {57, 33}, {128, 40}};
  const auto& [width, height] = sizes[pick(std::size(sizes))];
  Scene scene = emptyScene(width, height, pick(2) == 1);
  scene.images["fill.pfm"] = scene.smoothing ? plainImage(channel(), channel(), channel()) : picture(23, 11);
  scene.images["sky.pfm"] = pick(2) ? picture(width, height) : picture(77, 40);
  switch (pick(3)) {
    case 0:
      scene.background = color(channel(), channel(), channel());
      break;
    case 1:
      scene.background = gradient();
      break;
    default:
      scene.background = std::make_shared<ImageBrush>("sky.pfm");
  }

  const std::size_t count = 1 + pick(5);
  for (std::size_t i = 0; i < count; ++i) {
    Pin pin;
    const double azimuth = number(-180, 180);
    const double elevation = number(-90, 90);
    const bool half = pick(4) == 0;
    const float amount = kAmounts[pick(std::size(kAmounts))];
    if (pick(2)) {
      CirclePinParams shape = circle(azimuth, elevation, number(2, 80));
      shape.rotation = rad(number(-180, 180));
      shape.half = half;
      shape.falloffKind = kCircleFalloffs[pick(std::size(kCircleFalloffs))];
      shape.falloffAmount = amount;
      pin.shape = shape;
    } else {
      RectPinParams shape = rect(azimuth, elevation, number(2, 75), number(2, 75), number(-180, 180));
      shape.half = half;
      if (pick(3) == 0) shape.cornerRadius = rad(number(0, 30));
      shape.falloffKind = kRectFalloffs[pick(std::size(kRectFalloffs))];
      shape.falloffAmount = amount;
      pin.shape = shape;
    }
    const BlendMode mode = kModes[pick(4)];
    std::shared_ptr<Brush> fill;
    switch (pick(4)) {
      case 0:
        fill = color(channel(), channel(), channel(), mode);
        break;
      case 1:
        fill = gradient(static_cast<float>(number(-180, 180)), mode);
        break;
      case 2:
        fill = std::make_shared<ImageBrush>("fill.pfm");
        break;
      default:
        fill = std::make_shared<BackgroundBrush>(static_cast<float>(number(-180, 180)),
                                                 static_cast<float>(number(-90, 90)));
    }
    fill->setMode(mode);
    if (pick(3) == 0)
      fill->adjustments() = {static_cast<float>(number(0.5, 2)),
                             static_cast<float>(number(0.7, 2)),
                             static_cast<float>(number(0, 1)),
                             static_cast<float>(number(-1, 1)),
                             channel(),
                             channel(),
                             channel()};
    pin.fill = fill;
    scene.pins.push_back(std::move(pin));
  }
  return {"random scene of seed " + std::to_string(seed), std::move(scene)};
}

}  // namespace reference
