#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scene/HostPicture.h"
#include "scene/Scene.h"
#include "scene/map_file.h"

namespace CLI {
class App;
}

namespace orvpaint {

/// What the program leaves with.
enum ExitStatus : int {
  done = 0,
  fileFailed = 1,   ///< a file could not be read or written, or the painter can not run here
  callIsWrong = 2,  ///< the call is wrong or a scene has errors
  fellBack = 3,     ///< the painter fell back to a visible colour, or to a worse picture
};

/// How much is said beside errors.
enum class Talk { quiet, normal, verbose };

/// What it takes to paint.
struct PainterArguments {
  std::optional<orv::scene::MapSize> size;
  int threads = 0;  ///< 0: as many as the process may use processors
  std::string painter;
  bool quiet = false;
  bool verbose = false;
  bool allowFallback = false;
  std::uint64_t maxImagePixels = orv::scene::kMaxPicturePixels;  ///< larger pictures are refused

  Talk talk() const { return quiet ? Talk::quiet : verbose ? Talk::verbose : Talk::normal; }
};

/// One of `count` parts of a call's maps.
struct Shard {
  std::size_t number = 1;  ///< from 1
  std::size_t count = 1;
};

/// How maps are written, and which of them.
struct MapArguments : PainterArguments {
  std::vector<std::string> outputs;               ///< names, with words in braces
  const orv::scene::MapFormat* format = nullptr;  ///< of outputs whose ending names none
  std::optional<float> exposureStops = 0.0f;      ///< of previews; none: chosen automatically
  std::string compression;
  bool half = false;
  std::optional<float> limit;
  orv::scene::Layout layout = orv::scene::Layout::native;  ///< of every output
  std::string usd;  ///< where a dome light is written that shows the first output of floats; empty: nowhere
  bool skipExisting = false;
  Shard shard;
  std::string manifest;  ///< empty: none
  bool dryRun = false;
};

struct PaintArguments : MapArguments {
  std::vector<std::string> scenes;
  std::vector<std::string> settings;
  std::vector<std::string> sweeps;
  std::string frames;  ///< empty: none
};

struct BatchArguments : MapArguments {
  std::string jobs;  ///< file of job lines; `-`: standard input
};

/// `scene` may be a map's file, too.
struct PreviewArguments : PainterArguments {
  std::string scene;
  std::string output;
  const orv::scene::MapFormat* format = nullptr;  ///< of an output whose ending names none
  std::optional<float> exposureStops;             ///< none: chosen automatically
  float cameraAzimuth = 180;
};

/// Each file is a scene or a map.
struct InfoArguments {
  std::vector<std::string> files;
  orv::scene::Layout layout = orv::scene::Layout::native;  ///< of the maps
  std::uint64_t maxImagePixels = orv::scene::kMaxPicturePixels;
  bool json = false;
};

/// Each runs one command. Errors of files and scenes that end the command are thrown.
ExitStatus paint(const PaintArguments& arguments);
ExitStatus batch(const BatchArguments& arguments);
ExitStatus preview(const PreviewArguments& arguments);
ExitStatus check(const std::vector<std::string>& scenes);
/// Writes man pages and completion, made of the commands' description, below a folder as they are installed
/// below `share`.
ExitStatus generate(const CLI::App& app, const std::string& folder);
ExitStatus info(const InfoArguments& arguments);

/// Name and version, as files and `--version` give it.
std::string programVersion();

}  // namespace orvpaint
