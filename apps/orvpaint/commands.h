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
  orv::scene::Layout layout = orv::scene::Layout::native;  ///< of every output
  std::string usd;  ///< where a dome light is written that shows the first output of floats; empty: nowhere
  std::string painter;
  bool quiet = false;
  bool allowFallback = false;
};

/// Each runs one command. Errors of files and scenes that end the command are thrown.
ExitStatus paint(const PaintArguments& arguments);
ExitStatus check(const std::vector<std::string>& scenes);
ExitStatus info(const std::string& file, orv::scene::Layout layout);

/// The first of some outputs that is not a preview; empty when there is none.
std::string firstOfFloats(const std::vector<std::string>& outputs);

/// Name and version, as files and `--version` give it.
std::string programVersion();

}  // namespace orvpaint
