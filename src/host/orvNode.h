#pragma once

#include <cstdint>

/// A float array inside a host node. Its memory is `orv_malloc`'s; the host frees it.
struct orvFloat_array {
  float* data = nullptr;
  std::uint32_t count = 0;
};

/// A host parameter node: named values that the host shows, animates and stores. The host owns it. Set-up
/// thread only. Names are zero-terminated; a name not seen before makes a parameter.
class orvNode {
 public:
  /// Whether the parameter follows an animation; false for a name that the node does not have.
  virtual bool is_parameter_animated(const char* name) const = 0;
  virtual void set_parameter(const char* name, std::uint32_t value) = 0;
  virtual void set_parameter(const char* name, float value) = 0;
  virtual void set_parameter(const char* name, const char* text) = 0;
  /// The named float array, made empty when new; valid as long as the node.
  virtual orvFloat_array& float_array(const char* name) = 0;

 protected:
  ~orvNode() = default;
};
