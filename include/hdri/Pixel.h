#pragma once

namespace orv::hdri {

/// A scene-linear colour: Rec. 709 red, green and blue, unbounded above.
struct Rgb {
  float r;
  float g;
  float b;

  friend constexpr bool operator==(const Rgb& one, const Rgb& other) {
    return one.r == other.r && one.g == other.g && one.b == other.b;
  }
  friend constexpr bool operator!=(const Rgb& one, const Rgb& other) { return !(one == other); }
};

}  // namespace orv::hdri
