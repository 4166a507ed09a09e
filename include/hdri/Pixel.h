#pragma once

namespace orv::hdri {

/// A scene-linear colour: Rec. 709 red, green and blue, unbounded above.
struct Rgb {
  float r;
  float g;
  float b;

  friend constexpr bool operator==(const Rgb& a, const Rgb& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b;
  }
  friend constexpr bool operator!=(const Rgb& a, const Rgb& b) { return !(a == b); }
};

}  // namespace orv::hdri
