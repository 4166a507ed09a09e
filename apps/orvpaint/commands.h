#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scene/HostPicture.h"
#include "scene/Scene.h"

namespace orvpaint {

/// What the program leaves with.
enum ExitStatus : int {
  done = 0,
  fileFailed = 1,   ///< a file could not be read or written, or the painter can not run here
  callIsWrong = 2,  ///< the call is wrong or a scene has errors
  fellBack = 3,     ///< the painter fell back to a visible colour, or to a worse picture
};

/// What it takes to paint a scene.
struct SceneArguments {
  std::string scene;
  std::optional<orv::scene::MapSize> size;
  int threads = 0;  ///< 0: as many as the process may use processors
  std::string painter;
  bool quiet = false;
  bool allowFallback = false;
  std::uint64_t maxImagePixels = orv::scene::kMaxPicturePixels;  ///< larger pictures are refused
};

struct PaintArguments : SceneArguments {
  std::vector<std::string> outputs;
  std::optional<float> exposureStops = 0.0f;  ///< of previews; none: chosen automatically
  std::string compression;
  bool half = false;
  std::optional<float> limit;
  orv::scene::Layout layout = orv::scene::Layout::native;  ///< of every output
  std::string usd;  ///< where a dome light is written that shows the first output of floats; empty: nowhere
};

/// `scene` may be a map's file, too.
struct PreviewArguments : SceneArguments {
  std::string output;
  std::optional<float> exposureStops;  ///< none: chosen automatically
  float cameraAzimuth = 180;
};

/// Each runs one command. Errors of files and scenes that end the command are thrown.
ExitStatus paint(const PaintArguments& arguments);
ExitStatus preview(const PreviewArguments& arguments);
ExitStatus check(const std::vector<std::string>& scenes);
ExitStatus info(const std::string& file, orv::scene::Layout layout, std::uint64_t maxImagePixels);

/// The first of some outputs that is not a preview; empty when there is none.
std::string firstOfFloats(const std::vector<std::string>& outputs);

/// Name and version, as files and `--version` give it.
std::string programVersion();

}  // namespace orvpaint
