#pragma once

#include <string>

#include "scene/read_scene.h"

/// A scene with this background, and with pins when they are given.
inline std::string withBackground(const std::string& brush, const std::string& more = "") {
  return R"({"version": 1, "background": )" + brush + more + "}";
}

/// A scene with one pin whose members are `members` and whose fill is `fill`.
inline std::string withPin(const std::string& members, const std::string& fill) {
  return withBackground(R"({"type": "color", "color": [0, 0, 0]})",
                        ", \"pins\": [{" + members + ", \"fill\": " + fill + "}]");
}

inline const std::string kCircle = R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": 5)";
inline const std::string kRect =
    R"("shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 5, "halfHeight": 4)";
inline const std::string kWhite = R"({"type": "color", "color": [1, 1, 1]})";

/// What is wrong, one finding a line, and where by the path alone; by line and column where there is no path.
inline std::string findingsOf(const orv::scene::SceneErrors& errors) {
  std::string text;
  for (orv::scene::Problem problem : errors.problems()) {
    if (!problem.path.empty()) problem.line = problem.column = 0;
    text.append(text.empty() ? "" : "\n").append(problem.finding());
  }
  return text;
}

/// All errors of a scene, one a line; empty when it has none.
inline std::string errorsOf(const std::string& text) {
  try {
    orv::scene::parseScene(text, "s.json");
    return {};
  } catch (const orv::scene::SceneErrors& errors) {
    return findingsOf(errors);
  }
}
