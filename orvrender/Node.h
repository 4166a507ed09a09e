#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <variant>

#include "host/orvMemory.h"
#include "host/orvNode.h"

namespace orv::host {

/// A parameter node of a scene. Set-up thread only.
class Node final : public orvNode {
 public:
  /// The value written last; none for a float array or a name that was only marked as animated.
  using Value = std::variant<std::monostate, std::uint32_t, float, std::string>;

  Node(std::string typeName, std::uint32_t id) : typeName_(std::move(typeName)), id_(id) {}
  ~Node() {
    for (auto& [name, parameter] : parameters_) orv_free(parameter.array.data);
  }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  bool is_parameter_animated(const char* name) const override {
    const auto found = parameters_.find(name ? name : "");
    return found != parameters_.end() && found->second.animated;
  }
  void set_parameter(const char* name, std::uint32_t value) override { parameter(name).value = value; }
  void set_parameter(const char* name, float value) override { parameter(name).value = value; }
  void set_parameter(const char* name, const char* text) override {
    parameter(name).value = std::string(text ? text : "");
  }
  orvFloat_array& float_array(const char* name) override { return parameter(name).array; }

  void setAnimated(const char* name, bool animated) { parameter(name).animated = animated; }

  const std::string& typeName() const { return typeName_; }
  std::uint32_t id() const { return id_; }
  /// The value of a parameter; none when the node does not have it.
  Value value(const std::string& name) const {
    const auto found = parameters_.find(name);
    return found == parameters_.end() ? Value{} : found->second.value;
  }

 private:
  struct Parameter {
    Value value;
    orvFloat_array array;  // its memory is orv_malloc's
    bool animated = false;
  };

  /// The named parameter, made when new; a null name counts as the empty one.
  Parameter& parameter(const char* name) { return parameters_[name ? name : ""]; }

  std::string typeName_;
  std::uint32_t id_;
  std::map<std::string, Parameter> parameters_;  // a map: references to arrays stay valid
};

}  // namespace orv::host
