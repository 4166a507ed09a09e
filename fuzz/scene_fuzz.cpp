#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "scene/read_scene.h"
#include "scene/write_scene.h"

/// Any bytes either are refused with errors or are a scene that survives being written and read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::scene;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  Scene scene;
  try {
    scene = parseScene(text, "scene.json");
  } catch (const SceneErrors& errors) {
    if (errors.lines().empty()) std::abort();
    return 0;
  }
  if (!(parseScene(sceneText(scene), "scene.json") == scene)) std::abort();
  return 0;
}
