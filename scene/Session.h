#pragma once

#include <cstdint>
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
  /// @throws FileError, PaintError, PaintCancelled as `paintScene`; the session can be used afterwards.
  PaintResult paint(const Scene& scene, const PaintOptions& options = {});

  /// Gives scenes an image from memory, which they show by its name, as `path` or `sizeFromImage`, as they
  /// show a file. It is copied, and stays until it is replaced or removed.
  /// @param name `memory:` and anything more. @param rgb width x height linear RGB floats, rows packed from
  ///        the top; NaN counts as 0 and an infinity as 65504 of its sign.
  /// @throws FileError when the name or the size is none that an image can have, or there is no memory.
  void addImage(const std::string& name, const float* rgb, std::uint32_t width, std::uint32_t height);
  /// Takes such an image away. @return false when there is none.
  bool removeImage(const std::string& name);

  /// Gives back the background's memory, at most 28 bytes a pixel; the next scene's is prepared anew.
  void forgetBackground();

 private:
  void forgetBackgroundOf(const std::string& image);

  struct DestroyScene {
    void operator()(orvScene* host) const;
  };

  // The painter goes before the host that it uses, and what it shows after it.
  PainterLibrary library_;
  std::unique_ptr<orvScene, DestroyScene> host_;
  KeptWork kept_;
  PainterPointer painter_;
};

}  // namespace orv::scene
