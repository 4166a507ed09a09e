// A host of another maker: the twelve operations and no more, exported by the program, and a scene that the
// reference host knows nothing of. Paints with the painter that it opens by its name.
#include <dlfcn.h>
#include <hdri/ColorBrush.h>
#include <hdri/IPainter.h>
#include <orvrender/orvImage.h>
#include <orvrender/orvLog.h>
#include <orvrender/orvMemory.h>
#include <orvrender/orvProgress.h>
#include <orvrender/orvScene.h>
#include <orvrender/orvSky.h>

#include <cstdio>
#include <cstdlib>

extern "C" {
void* orv_malloc_aligned(std::size_t bytes, std::size_t alignment) {
  return std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
}
void orv_free_aligned(void* storage) { std::free(storage); }
void* orv_malloc(std::size_t bytes) { return std::malloc(bytes); }
void orv_free(void* storage) { std::free(storage); }
void orv_critical(const char*, ...) {}
void orv_progress_set(orvScene*, const char*, float) {}
void orv_progress_add(orvScene*, float) {}
orvImage* orv_image_load(orvScene*, const char*, orvTexture_profile, bool, const void*) { return nullptr; }
void orv_image_free(orvScene*, orvImage*, bool) {}
void orv_image_free_mode(orvScene*, bool, bool) {}
orvSky* orv_get_sky(orvScene*) { return nullptr; }
orvScene_api* orv_get_scene_api(orvScene*) { return nullptr; }
}

int main() {
  void* const library = dlopen("liborvhdri_avx2.so", RTLD_NOW);
  if (!library) {
    std::printf("%s\n", dlerror());
    return 1;
  }
  const auto create = reinterpret_cast<decltype(&createAVX2Painter)>(dlsym(library, "createAVX2Painter"));
  const auto destroy = reinterpret_cast<decltype(&destroyAVX2Painter)>(dlsym(library, "destroyAVX2Painter"));
  orv::hdri::IPainter* const painter = create();
  // No address of a scene of the reference host: to look behind it ends the program.
  painter->setScene(reinterpret_cast<orvScene*>(16));
  painter->setSize(64, 32);
  const bool none = painter->setBackground(orv::hdri::ColorBrush(1, 2, 3));
  const auto map = painter->paint();
  if (!none || !map) return 1;
  std::printf("%g %g %g\n", static_cast<double>(map->pixels[0].r), static_cast<double>(map->pixels[0].g),
              static_cast<double>(map->pixels[0].b));
  destroy(painter);
}
