// The smallest useful host: a gradient sky, painted into memory.

#include <hdri/GradientBrush.h>
#include <hdri/IPainter.h>
#include <orvrender/orvHost.h>

#include <cstdio>
#include <memory>

int main() {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    std::fputs("this processor has no AVX2 and FMA\n", stderr);
    return 1;
  }
  orvScene* scene = orv_scene_create({});
  orv::hdri::IPainter* painter = createAVX2Painter();
  if (!scene || !painter) return 1;

  painter->setScene(scene);
  painter->setSize(1024, 512);

  // Dark at the bottom of the map (position 0), blue at its top (1).
  auto sky = std::make_shared<orv::hdri::GradientBrush>();
  orv::hdri::GradientStop ground, zenith;
  ground.r = ground.g = ground.b = 0.05f;
  zenith.position = 1.0f;
  zenith.r = 0.2f;
  zenith.g = 0.5f;
  zenith.b = 1.0f;
  zenith.intensity = 3.0f;
  sky->setStops({ground, zenith});
  painter->setBackground(*sky);

  const std::shared_ptr<orv::hdri::EnvImage> map = painter->paint();
  const orv::hdri::Rgb& top = map->pixels.front();
  std::printf("%d x %d, zenith %.3f %.3f %.3f\n", map->width, map->height, static_cast<double>(top.r),
              static_cast<double>(top.g), static_cast<double>(top.b));

  destroyAVX2Painter(painter);
  orv_scene_destroy(scene);
}
