#pragma once

namespace orv::hdri {

/// A scene-linear colour: Rec. 709 red, green and blue, unbounded above.
struct Rgb {
  float r;
  float g;
  float b;

  friend bool operator==(const Rgb&, const Rgb&) = default;
};

}  // namespace orv::hdri
