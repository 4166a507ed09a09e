#pragma once

#include <memory>
#include <string>

#include "orvrender/orvHost.h"
#include "scene/PainterLibrary.h"
#include "scene/Scene.h"
#include "scene/paint_scene.h"

namespace orv::scene {

/// What a host is made with for a single paint, which needs nothing twice: what it is done with goes.
inline orvScene_options forOnePaint() {
  orvScene_options options;
  options.imageCacheBytes = 0;
  options.keepBlocks = false;
  return options;
}

/// Paints one scene after another, each with as little work as possible: pictures and the sky's tables are
/// kept, and while the background and the size stay the same, only pins are painted. The maps are the bytes
/// that a new session would paint.
///
/// One thread at a time; several sessions may paint in several threads. A map's pixels
/// (`result.map->pixels`) are the painter's memory; they live as long as anybody holds the map, after the
/// session too.
class Session {
 public:
  /// @param painter path of the painter's library; empty: where it is found (PainterLibrary).
  /// @param host limits of pictures, and the memory for those that are kept.
  /// @throws PainterError when there is no painter that can run here; std::bad_alloc.
  explicit Session(const std::string& painter = {}, const orvScene_options& host = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Paints a scene.
  /// @return a map of the scene's size, or of the options'. The messages are what the host's log said: of a
  ///         picture that is kept, nothing a second time.
  /// @throws FileError, PaintError as `paintScene`; the session can be used afterwards.
  PaintResult paint(const Scene& scene, const PaintOptions& options = {});

  /// Gives back the background's memory, at most 28 bytes a pixel; the next scene's is prepared anew.
  void forgetBackground();

 private:
  struct DestroyScene {
    void operator()(orvScene* host) const;
  };

  // The painter goes before the host that it uses, and what it shows after it.
  PainterLibrary library_;
  std::unique_ptr<orvScene, DestroyScene> host_;
  KeptBackground kept_;
  PainterPointer painter_;
};

}  // namespace orv::scene
