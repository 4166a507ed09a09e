#pragma once

#include <cstdint>
#include <string>

#include "backgrounds/ImageHandle.h"

class orvScene;

namespace orv::hdri::blockedAVX2 {

/// What a paint's parts need to know of the painter, and its way to the host.
struct PaintContext {
  orvScene* scene = nullptr;       ///< not owned; null without one
  std::int32_t width = 0;          ///< of the map, never negative
  std::int32_t height = 0;         ///< of the map, never negative
  bool smoothing = false;          ///< soft pin edges and filtered image fills
  float pinSizeScale = 1.5f;       ///< scale of the pixel angle that pin shapes are made with
  float blurAmount = 0;            ///< as the background brush gave it
  bool blurOnSphere = false;       ///< the blur is a Gaussian on the sphere, not on the map's plane
  float tiltAngle1 = 0;            ///< azimuth of the background's rotation, radians
  float tiltAngle2 = 0;            ///< its tilt, radians
  bool hasBackgroundFill = false;  ///< a pin shows the background: map backgrounds keep a sampling copy

  // Progress goes to the host when there is a scene; callable from many threads.

  /// Starts a phase.
  void progressText(const char* text) const;
  /// Advances the phase by `amount`.
  void progressStep(float amount) const;
  /// Advances the phase by a / b.
  void progressFraction(float a, float b) const;

  /// Tells the host, if it wants to know, that a plain color is painted in place of what was asked for.
  /// @param pin its place in the list; -1: the background.
  void tellFallback(std::int32_t pin) const;

  /// Loads an image through the host. @return null, after a line in the host's log, when it is not found.
  /// @throws LoopStopped when the paint under way is cancelled.
  ImageHandle loadImage(const std::string& path) const;
};

}  // namespace orv::hdri::blockedAVX2
