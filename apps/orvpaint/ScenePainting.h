#pragma once

#include <memory>

#include "ProgressBar.h"
#include "commands.h"
#include "hdri/EnvImage.h"
#include "scene/PainterLibrary.h"
#include "scene/Scene.h"

class orvScene;

namespace orvpaint {

/// A scene on its way to a map: everything that can be wrong about the call is found before it is painted.
class ScenePainting {
 public:
  /// Reads the scene and loads the painter. @param arguments must outlive it.
  /// @throws SceneErrors, FileError, PainterError.
  explicit ScenePainting(const SceneArguments& arguments);

  /// Paints the scene and shows what the host says.
  /// @return null when something missing was painted as a visible colour, or worse than asked for want of
  ///         memory, which is not allowed; it was told.
  std::shared_ptr<orv::hdri::EnvImage> paint(ProgressBar& bar) const;

 private:
  struct DestroyScene {
    void operator()(orvScene* host) const;
  };

  const SceneArguments& arguments_;
  orv::scene::Scene scene_;
  orv::scene::PainterLibrary library_;
  std::unique_ptr<orvScene, DestroyScene> host_;
};

}  // namespace orvpaint
