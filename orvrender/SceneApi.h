#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/orvScene.h"
#include "orvrender/Node.h"

namespace orv::host {

/// The node factory of a scene, and the owner of the nodes. Set-up thread only.
class SceneApi final : public orvScene_api {
 public:
  static constexpr std::uint32_t kChooseId = 0xFFFFFFFFu;

  /// Makes a node; none, with a line in the log, when the type has no name or the id is taken.
  void begin_node(const char* typeName, std::uint32_t id, std::uint32_t flags) override;
  orvNode* take_node() override;

 private:
  bool isTaken(std::uint32_t id) const;

  std::vector<std::unique_ptr<Node>> nodes_;
  Node* begun_ = nullptr;
  std::uint32_t nextId_ = 0;
};

}  // namespace orv::host
