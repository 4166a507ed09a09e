// Ten small paints whose instructions are counted: each is painted twice, on one thread, and the second time
// is the one that counts. `count_instructions.py` runs them and holds them to `instruction_counts.txt`.

#include <tbb/global_control.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"

/// The function whose instructions are counted, with all that it calls.
extern "C" [[gnu::noinline]] void countedPaint(orv::hdri::IPainter& painter) { painter.paint(); }

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

constexpr std::int32_t kWidth = 512;

CirclePinParams circle(int i, int count, float radius) {
  CirclePinParams params;
  params.azimuth = static_cast<float>(std::remainder(2.399963 * i, 6.283185307));
  params.elevation = static_cast<float>(std::asin((2.0 * i + 1) / count - 1));
  params.radius = radius;
  params.rotation = 0.3f * static_cast<float>(i);
  params.falloffKind = Falloff::circleSmoothEdge;
  return params;
}

RectPinParams rectangle(int i, int count, float size) {
  const CirclePinParams at = circle(i, count, size);
  RectPinParams params;
  params.azimuth = at.azimuth;
  params.elevation = at.elevation;
  params.rotation = at.rotation;
  params.halfWidth = size;
  params.halfHeight = 0.6f * size;
  params.falloffKind = Falloff::rectBoxEdge;
  return params;
}

/// Brushes are not copied.
std::unique_ptr<GradientBrush> gradient() {
  auto brush = std::make_unique<GradientBrush>();
  brush->setStops({{.position = 0, .r = 0.1f}, {.position = 0.4f, .g = 0.5f}, {.position = 1, .b = 2}});
  return brush;
}

void addCircles(IPainter& painter, int count, float radius, const Brush& fill) {
  for (int i = 0; i < count; ++i) painter.addCirclePin(circle(i, count, radius), fill);
}

struct Paint {
  const char* name;
  std::function<void(IPainter&, const std::string& picture)> setUp;
};

const std::vector<Paint>& paints() {
  static const std::vector<Paint> list = {
      {"gradient", [](IPainter& p, const std::string&) { p.setBackground(*gradient()); }},
      {"sky", [](IPainter& p, const std::string&) { p.setBackground(SunSkyBrush()); }},
      {"image_adjusted",
       [](IPainter& p, const std::string& picture) {
         ImageBrush brush(picture);
         brush.adjustments() = {.brightness = 1.2f, .gamma = 1.8f, .hueShift = 0.2f, .saturation = 0.8f};
         p.setBackground(brush);
       }},
      {"image_tilted",
       [](IPainter& p, const std::string& picture) {
         ImageBrush brush(picture);
         brush.setTiltAngles(30, 20);
         p.setBackground(brush);
       }},
      {"image_blurred",
       [](IPainter& p, const std::string& picture) {
         ImageBrush brush(picture);
         brush.setBlurAmount(3);
         p.setBackground(brush);
       }},
      {"image_blurred_on_sphere",
       [](IPainter& p, const std::string& picture) {
         ImageBrush brush(picture);
         brush.setBlurAmount(3);
         brush.setBlurOnSphere(true);
         p.setBackground(brush);
       }},
      {"circles",
       [](IPainter& p, const std::string&) {
         p.setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
         addCircles(p, 64, 0.25f, ColorBrush(1, 1, 1));
         addCircles(p, 1000, 0.01f, ColorBrush(1, 1, 1));
       }},
      {"rectangles_of_gradients",
       [](IPainter& p, const std::string&) {
         p.setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
         for (int i = 0; i < 32; ++i) p.addRectPin(rectangle(i, 32, 0.25f), *gradient());
       }},
      {"image_pins",
       [](IPainter& p, const std::string& picture) {
         p.setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
         addCircles(p, 16, 0.3f, ImageBrush(picture));
       }},
      {"background_pins",
       [](IPainter& p, const std::string& picture) {
         p.setBackground(ImageBrush(picture));
         addCircles(p, 16, 0.3f, BackgroundBrush(40, 20));
       }},
  };
  return list;
}

}  // namespace

/// Argument: a picture; or `--list`, which names the paints in their order.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: reference_paints PICTURE | --list\n");
    return 2;
  }
  if (std::string(argv[1]) == "--list") {
    for (const Paint& paint : paints()) std::puts(paint.name);
    return 0;
  }
  const std::string picture = argv[1];
  const tbb::global_control oneThread(tbb::global_control::max_allowed_parallelism, 1);
  for (const Paint& paint : paints()) {
    orvScene* const host = orv_scene_create({});
    {
      const std::unique_ptr<BlockedPainter> painter(new (std::nothrow) BlockedPainter(PainterType::avx2));
      painter->setScene(host);
      painter->setSize(kWidth, kWidth / 2);
      painter->setOptions({1, 0});
      paint.setUp(*painter, picture);
      painter->paint();
      countedPaint(*painter);
    }
    orv_scene_destroy(host);
  }
  return 0;
}
