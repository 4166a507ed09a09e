#include "orvrender/Node.h"

#include "orvrender/orvHost.h"

extern "C" void orv_node_set_animated(orvNode* node, const char* name, bool animated) {
  // Every node of this host is of its one class.
  if (node) static_cast<orv::host::Node*>(node)->setAnimated(name, animated);
}
