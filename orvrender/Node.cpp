#include "orvrender/Node.h"

#include "host/orvMemory.h"
#include "orvrender/orvHost.h"

namespace orv::host {

Node::~Node() {
  for (auto& [name, parameter] : parameters_) orv_free(parameter.array.data);
}

bool Node::is_parameter_animated(const char* name) const {
  const auto found = parameters_.find(name ? name : "");
  return found != parameters_.end() && found->second.animated;
}

void Node::set_parameter(const char* name, std::uint32_t value) { parameter(name).value = value; }

void Node::set_parameter(const char* name, float value) { parameter(name).value = value; }

void Node::set_parameter(const char* name, const char* text) {
  parameter(name).value = std::string(text ? text : "");
}

orvFloat_array& Node::float_array(const char* name) { return parameter(name).array; }

void Node::setAnimated(const char* name, bool animated) { parameter(name).animated = animated; }

}  // namespace orv::host

extern "C" void orv_node_set_animated(orvNode* node, const char* name, bool animated) {
  // Every node of this host is of its one class.
  if (node) static_cast<orv::host::Node*>(node)->setAnimated(name, animated);
}
