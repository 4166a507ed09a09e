#pragma once

#include <optional>
#include <string>
#include <vector>

#include "scene/Scene.h"

namespace orvpaint {

/// What the program leaves with.
enum ExitStatus : int {
  done = 0,
  fileFailed = 1,   ///< a file could not be read or written, or the painter can not run here
  callIsWrong = 2,  ///< the call is wrong or a scene has errors
  fellBack = 3,     ///< the painter fell back to a visible colour
};

struct PaintArguments {
  std::string scene;
  std::vector<std::string> outputs;
  std::optional<orv::scene::MapSize> size;
  int threads = 0;  ///< 0: as many as the process may use processors
  float exposureStops = 0;
  std::string compression;
  std::string painter;
  bool quiet = false;
  bool allowFallback = false;
};

/// Each runs one command. Errors of files and scenes that end the command are thrown.
ExitStatus paint(const PaintArguments& arguments);
ExitStatus check(const std::vector<std::string>& scenes);
ExitStatus info(const std::string& file);

/// Name and version, as files and `--version` give it.
std::string programVersion();

}  // namespace orvpaint
