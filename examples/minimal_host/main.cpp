// A small host: paints a gradient sky with a light in it into memory, and says what goes wrong.

#include <hdri/ColorBrush.h>
#include <hdri/GradientBrush.h>
#include <hdri/IPainter.h>
#include <orvrender/orvHost.h>

#include <cstdio>
#include <exception>
#include <memory>

// Sets the painter up, paints, and shows a pixel of the map.
static bool paintSky(orv::hdri::IPainter* painter) {
  painter->setSize(1024, 512);

  // Dark at the bottom of the map (position 0), blue at its top (1).
  orv::hdri::GradientStop ground, zenith;
  ground.r = ground.g = ground.b = 0.05f;
  zenith.position = 1.0f;
  zenith.r = 0.2f;
  zenith.g = 0.5f;
  zenith.b = 1.0f;
  zenith.intensity = 3.0f;
  // The painter shares a gradient that a shared pointer owns, so that later edits show.
  const auto sky = std::make_shared<orv::hdri::GradientBrush>();
  sky->setStops({ground, zenith});
  if (!painter->setBackground(*sky)) return false;

  // A round light to the right of the middle, 12 degrees wide. Angles of pins are radians.
  orv::hdri::ColorBrush light(1.0f, 0.9f, 0.8f);
  light.adjustments().brightness = 20.0f;
  orv::hdri::CirclePinParams pin;
  pin.azimuth = 0.7f;
  pin.elevation = 0.4f;
  pin.radius = 0.1f;
  if (!painter->addCirclePin(pin, light)) return false;

  const std::shared_ptr<orv::hdri::EnvImage> map = painter->paint();
  if (!map) return false;
  const orv::hdri::Rgb& top = map->pixels.front();
  std::printf("%d x %d, zenith %.3f %.3f %.3f\n", map->width, map->height, static_cast<double>(top.r),
              static_cast<double>(top.g), static_cast<double>(top.b));
  return true;
}

int main() {
  // The painter's library runs on no other processor.
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    std::fputs("this processor has no AVX2 and FMA\n", stderr);
    return 1;
  }
  // What is missing or wrong is said here, a line at a time, from any thread.
  orv_log_set_listener([](void*, const char* line) { std::fprintf(stderr, "painter: %s\n", line); }, nullptr);

  orvScene* scene = orv_scene_create({});
  orv::hdri::IPainter* painter = createAVX2Painter();
  bool done = false;
  if (scene && painter) {
    painter->setScene(scene);
    try {
      done = paintSky(painter);
    } catch (const std::exception& error) {  // no memory, or more pixels than 31 bits count
      std::fprintf(stderr, "painting failed: %s\n", error.what());
    }
  }
  destroyAVX2Painter(painter);
  orv_scene_destroy(scene);
  return done ? 0 : 1;
}
