#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "scene/json_tree.h"

namespace orv::scene {

/// The tree as the JSON library's, members in the file's order. Numbers that overflow become null.
nlohmann::ordered_json toJson(const JsonValue& value);

/// JSON text for people: what fits on a line stands on one.
std::string prettyText(const nlohmann::ordered_json& json);

}  // namespace orv::scene
