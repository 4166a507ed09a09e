#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hdri/Brush.h"
#include "hdri/EnvImage.h"
#include "hdri/IPainter.h"
#include "orvrender/images/FileStamp.h"
#include "scene/PinLights.h"
#include "scene/Scene.h"
#include "scene/SceneErrors.h"

class orvScene;

namespace orv::scene {

/// A scene could not be painted; `what()` is one line that names the place in the scene.
struct PaintError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A paint was cancelled, as its caller wanted; `what()` is one line.
struct PaintCancelled : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct PaintOptions {
  std::string fileName = "scene";    ///< what messages call the scene
  std::string folder = {};           ///< image paths are relative to it: the scene file's
  std::optional<MapSize> size = {};  ///< instead of the scene's own
  /// Hears of the phase of the work and of the amount done in it, 0 to 1. Called from any thread, one call at
  /// a time; must not throw. May be empty.
  std::function<void(const char* phase, double amount)> progress = {};
  /// Cancels the paint, within milliseconds of its being set, from any thread or a signal handler. It stays
  /// set until the call has ended. Null: the paint can not be cancelled.
  const std::atomic<bool>* cancel = nullptr;
};

struct PaintResult {
  std::shared_ptr<hdri::EnvImage> map;  ///< never null
  std::vector<std::string> messages;    ///< what the host's log said, line by line
  /// A missing image or sky was painted as a visible colour, or a picture worse than asked for want of
  /// memory; the messages say which.
  bool fellBack = false;
};

/// What is kept from one scene to the next: the background that a painter holds with what it was made of, and
/// the pins' sizes. It belongs to one painter and one host.
struct KeptWork {
  std::shared_ptr<hdri::Brush> brush = {};         ///< null: none is kept
  std::optional<host::FileStamp> imageStamp = {};  ///< of its image, where it shows one
  PinLights pins = {};
};

/// Paints a scene with a painter and a host: size, options, background, enabled pins in order, paint. While
/// it runs, the host's log goes to the result; afterwards it goes to standard error. However it ends, the
/// painter holds no pin of the scene afterwards.
/// @param kept what the painter has kept, and keeps now: a background that is the same, of the same size and
///        of a file that has not changed, is not prepared again. One that the host had something to say of is
///        not kept. Null: nothing is kept.
/// @throws FileError when the image that gives the size can not be read; PaintError when the painter refuses
///         a pin or there is not enough memory. Nothing is kept then. PaintCancelled; what the painter has
///         finished is kept.
PaintResult paintScene(const Scene& scene, hdri::IPainter& painter, orvScene* host,
                       const PaintOptions& options, KeptWork* kept = nullptr);

}  // namespace orv::scene
