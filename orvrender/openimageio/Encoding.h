#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv::host {

/// How the values of an image file stand for light.
struct Encoding {
  enum class Kind { linear, srgb, power };
  Kind kind = Kind::linear;
  double exponent = 1.0;  ///< of a power encoding: light = value ^ exponent

  /// Light of an encoded value, 0 to 1. sRGB after IEC 61966-2-1.
  double decode(double value) const;

  /// Light of every code of an integer image, of codes 0 to `codes` - 1 over 0 to 1.
  std::vector<float> table(std::size_t codes) const;
};

}  // namespace orv::host
