#include "orvrender/SceneApi.h"

#include <algorithm>
#include <new>
#include <utility>

#include "host/orvLog.h"
#include "orvrender/Scene.h"

namespace orv::host {

void SceneApi::begin_node(const char* typeName, std::uint32_t id, std::uint32_t) {
  begun_ = nullptr;
  if (!typeName || !*typeName) {
    orv_critical("node: its type has no name; give one such as \"orv.env.brush.color\"\n");
    return;
  }
  if (id == kChooseId) {
    while (isTaken(nextId_)) ++nextId_;
    id = nextId_++;
  } else if (isTaken(id)) {
    orv_critical("node \"%s\": the scene has a node %u already; give 0xFFFFFFFF to let it choose\n", typeName,
                 id);
    return;
  }
  try {
    nodes_.push_back(std::make_unique<Node>(typeName, id));
    begun_ = nodes_.back().get();
  } catch (const std::bad_alloc&) {
    orv_critical("node \"%s\": there is no memory for it; close other programs\n", typeName);
  }
}

orvNode* SceneApi::take_node() { return std::exchange(begun_, nullptr); }

bool SceneApi::isTaken(std::uint32_t id) const {
  return std::any_of(nodes_.begin(), nodes_.end(), [id](const auto& node) { return node->id() == id; });
}

}  // namespace orv::host

extern "C" orvScene_api* orv_get_scene_api(orvScene* scene) { return scene ? &scene->api : nullptr; }
