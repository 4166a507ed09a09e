#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hdri/EnvImage.h"
#include "hdri/IPainter.h"
#include "scene/Scene.h"
#include "scene/SceneErrors.h"

class orvScene;

namespace orv::scene {

/// A scene could not be painted; `what()` is one line that names the place in the scene.
struct PaintError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct PaintOptions {
  std::string fileName = "scene";    ///< what messages call the scene
  std::string folder = {};           ///< image paths are relative to it: the scene file's
  std::optional<MapSize> size = {};  ///< instead of the scene's own
};

struct PaintResult {
  std::shared_ptr<hdri::EnvImage> map;  ///< never null
  std::vector<std::string> messages;    ///< what the host's log said, line by line
  /// A missing image or sky was painted as a visible colour, or a picture worse than asked for want of
  /// memory; the messages say which.
  bool fellBack = false;
};

/// Paints a scene with a painter and a host: size, options, background, enabled pins in order, paint. While
/// it runs, the host's log goes to the result; afterwards it goes to standard error. However it ends, the
/// painter holds no pin and no background of the scene afterwards.
/// @throws FileError when the image that gives the size can not be read; PaintError when the painter refuses
///         a pin or there is not enough memory.
PaintResult paintScene(const Scene& scene, hdri::IPainter& painter, orvScene* host,
                       const PaintOptions& options);

}  // namespace orv::scene
