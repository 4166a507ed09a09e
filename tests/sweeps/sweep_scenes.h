#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "orvrender/orvHost.h"

/// Small scenes of every kind, for sweeps that paint each many times.
namespace sweeps {

/// A scene as calls of a painter. `setUp` gives false when the painter refused anything.
struct SweepScene {
  std::string name;
  bool usesImageLibrary = false;  ///< a picture is read or filtered by OpenImageIO
  bool hasSky = true;
  std::function<bool(orv::hdri::IPainter&)> setUp;
};

constexpr std::int32_t kWidth = 48;
constexpr std::int32_t kHeight = 24;

/// A portable float map of smooth colors.
inline void writePicture(const std::string& path, int width = 20, int height = 10) {
  std::ofstream file(path, std::ios::binary);
  file << "PF\n" << width << ' ' << height << "\n-1.0\n";
  for (int i = 0; i < width * height; ++i) {
    const float rgb[3] = {0.1f + 0.01f * static_cast<float>(i % width), 0.5f,
                          0.02f * static_cast<float>(i / width)};
    file.write(reinterpret_cast<const char*>(rgb), sizeof rgb);
  }
}

inline std::shared_ptr<orv::hdri::GradientBrush> sweepGradient() {
  auto brush = std::make_shared<orv::hdri::GradientBrush>();
  brush->setStops({{0.0f, 1.0f, 0.0f, 1.0f, 0.9f, 0.6f, 2.0f},
                   {0.4f, 0.0f, 1.5f, 0.2f, 0.5f, 1.0f, 1.0f},
                   {1.0f, 0.5f, 1.0f, 0.8f, 0.1f, 0.3f, 1.5f}});
  brush->setCurve({{0.1f, 1.0f, 0.0f, 1.0f}, {0.9f, 0.0f, 1.0f, 0.2f}});
  brush->setAngle(30.0f);
  return brush;
}

inline orv::hdri::CirclePinParams sweepCircle(float azimuth, float elevation, float radius) {
  return {.azimuth = azimuth, .elevation = elevation, .radius = radius};
}

inline orv::hdri::RectPinParams sweepRect(float azimuth, float elevation) {
  return {
      .azimuth = azimuth, .elevation = elevation, .halfWidth = 0.5f, .halfHeight = 0.3f, .rotation = 0.2f};
}

inline bool addCircles(orv::hdri::IPainter& painter) {
  using orv::hdri::Falloff;
  bool all = true;
  float azimuth = -3;
  for (const Falloff falloff :
       {Falloff::circleCosine, Falloff::circleLinear, Falloff::circleQuadratic, Falloff::circleSmoothEdge,
        Falloff::circleGaussianEdge, Falloff::outline, Falloff::solid}) {
    orv::hdri::CirclePinParams pin = sweepCircle(azimuth += 0.7f, 0.3f, 0.4f);
    pin.falloffKind = falloff;
    pin.half = falloff == Falloff::circleLinear;
    all = painter.addCirclePin(pin, orv::hdri::ColorBrush(1, 2, 3)) && all;
  }
  return all;
}

inline bool addRects(orv::hdri::IPainter& painter) {
  using orv::hdri::Falloff;
  bool all = true;
  float azimuth = -3;
  for (const Falloff falloff :
       {Falloff::rectCosine, Falloff::rectLinear, Falloff::rectQuadratic, Falloff::rectBoxEdge,
        Falloff::rectBoxProduct, Falloff::rectBoxGaussian, Falloff::outline, Falloff::solid}) {
    orv::hdri::RectPinParams pin = sweepRect(azimuth += 0.7f, -0.4f);
    pin.falloffKind = falloff;
    pin.cornerRadius = falloff == Falloff::rectCosine ? 0.2f : 0.0f;
    all = painter.addRectPin(pin, orv::hdri::ColorBrush(3, 2, 1)) && all;
  }
  return all;
}

inline bool addPortals(orv::hdri::IPainter& painter) {
  return painter.addCirclePin(sweepCircle(0.5f, 0.2f, 0.6f), orv::hdri::BackgroundBrush(70, 20)) &&
         painter.addRectPin(sweepRect(-2, 0), orv::hdri::BackgroundBrush(0, 0));
}

/// All scenes. @param pictures a folder with `a.pfm` of `writePicture`; @param source the project's.
inline std::vector<SweepScene> sweepScenes(const std::string& pictures, const std::string& source) {
  using namespace orv::hdri;
  const std::string pfm = pictures + "/a.pfm";
  const std::string exr = source + "/fuzz/corpus/exr/half_zip.exr";
  const std::string gone = pictures + "/gone.exr";
  std::vector<SweepScene> scenes;
  const auto add = [&](const char* name, std::function<bool(IPainter&)> setUp, bool library = false,
                       bool smoothing = true, bool sky = true) {
    scenes.push_back({name, library, sky, [setUp = std::move(setUp), smoothing](IPainter& painter) {
                        painter.setSize(kWidth, kHeight);
                        painter.setOptions({static_cast<std::uint8_t>(smoothing), 0});
                        return setUp(painter);
                      }});
  };
  /// A background, and what it is adjusted by.
  const auto on = [](auto brush, auto adjust) {
    return [brush, adjust](IPainter& painter) {
      const auto copy = brush->clone();
      adjust(*copy);
      return painter.setBackground(*copy);
    };
  };
  const auto plain = [](Brush&) {};
  const auto blurred = [](Brush& brush) { brush.setBlurAmount(6); };
  const auto blurredOnSphere = [](Brush& brush) {
    brush.setBlurAmount(6);
    brush.setBlurOnSphere(true);
  };
  const auto turned = [](Brush& brush) { brush.setTiltAngles(40, 25); };
  const auto adjusted = [](Brush& brush) { brush.adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1, 0.8f, 0.6f}; };
  const auto image = std::make_shared<ImageBrush>(exr);
  const auto picture = std::make_shared<ImageBrush>(pfm);
  const auto sky = std::make_shared<SunSkyBrush>();
  const auto grey = std::make_shared<ColorBrush>(0.2f, 0.3f, 0.4f);
  const auto isRed = [](auto setUp) { return [setUp](IPainter& painter) { return !setUp(painter); }; };
  const auto with = [](auto background, auto pins) {
    return [background, pins](IPainter& painter) { return background(painter) && pins(painter); };
  };
  const auto filled = [](std::shared_ptr<const Brush> fill) {
    return [fill](IPainter& painter) {
      return painter.addCirclePin(sweepCircle(-1, 0.4f, 0.5f), *fill) &&
             painter.addRectPin(sweepRect(1, -0.2f), *fill);
    };
  };

  add("color", on(grey, adjusted));
  add("gradient", on(sweepGradient(), adjusted));
  add("shared gradient",
      [owner = sweepGradient()](IPainter& painter) { return painter.setBackground(*owner); });
  add("image", on(image, plain));
  add("image, adjusted", on(image, adjusted));
  add("image, blurred", on(image, blurred));
  add("image, blurred on the sphere", on(image, blurredOnSphere));
  add("image, turned", on(image, turned));
  add("image of its own size", [exr](IPainter& painter) {
    return painter.setSizeFromImage(exr) && painter.setBackground(ImageBrush(exr));
  });
  add("image that is gone", on(std::make_shared<ImageBrush>(gone), plain));
  add("picture", on(picture, plain), true);
  add("picture, blurred and turned", with(on(picture, blurred), addPortals), true);
  add("sky", on(sky, plain));
  add("sky, blurred", on(sky, blurred));
  add("sky that the scene lacks", isRed(on(sky, plain)), false, true, false);
  add("circles", with(on(grey, plain), addCircles));
  add("circles with hard edges", with(on(grey, plain), addCircles), false, false);
  add("rectangles", with(on(grey, plain), addRects));
  add("gradient fills", with(on(grey, plain), filled(sweepGradient())));
  add("image fills, filtered", with(on(grey, plain), filled(image)), true);
  add("image fills", with(on(grey, plain), filled(image)), false, false);
  add("picture fills", with(on(grey, plain), filled(picture)), true, false);
  add("image fills that are gone", with(on(grey, plain), filled(std::make_shared<ImageBrush>(gone))));
  add("portals over a gradient", with(on(sweepGradient(), plain), addPortals));
  add("portals over a turned image", with(on(image, turned), addPortals));
  add("portals over the sky", with(on(sky, plain), addPortals));
  add(
      "everything",
      [=](IPainter& painter) {
        const auto background = image->clone();
        blurred(*background);
        turned(*background);
        adjusted(*background);
        return painter.setBackground(*background) && addCircles(painter) && addRects(painter) &&
               addPortals(painter) && filled(sweepGradient())(painter) && filled(picture)(painter);
      },
      true);
  return scenes;
}

}  // namespace sweeps
