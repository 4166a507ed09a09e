#pragma once

#include <cstdint>

class orvNode;

/// The host's scene; opaque, owned by the host.
class orvScene;

/// The node factory of a scene. Nodes are made in two calls: begin, then take. Set-up thread only.
class orvScene_api {
 public:
  /// Starts a node of the named type. @param id 0xFFFFFFFF lets the scene choose. @param flags 0.
  virtual void begin_node(const char* typeName, std::uint32_t id, std::uint32_t flags) = 0;
  /// The node that was just begun, owned by the scene; null when there is none.
  virtual orvNode* take_node() = 0;

 protected:
  ~orvScene_api() = default;
};

extern "C" {

/// The scene's node factory; asked for anew before each use.
orvScene_api* orv_get_scene_api(orvScene* scene);

}  // extern "C"
