#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "orvrender/files/Pixels.h"
#include "orvrender/images/Quad.h"

namespace orv::host {

/// Pixels that somebody else owns, as `Pixels` has them.
struct PixelView {
  std::int32_t width;
  std::int32_t height;
  const float* rgb;
  const float* alpha;  ///< null: 1 everywhere
};

inline PixelView viewOf(const Pixels& pixels) {
  return {static_cast<std::int32_t>(pixels.width), static_cast<std::int32_t>(pixels.height), pixels.rgb.get(),
          pixels.alpha.get()};
}

template <typename Value>
Value mix(Value a, Value b, float weight) {
  return a + (b - a) * weight;
}

/// A place on an axis of `size` pixels, whose centres lie at (i + 0.5) / size: the pixel before it and how
/// far it is on to the next. Before the first centre that is the first; behind the last one the last, and
/// `part` means nothing.
struct Place {
  std::int32_t first;
  float part;
};

inline Place placeOf(float coordinate, std::int32_t size) {
  const auto count = static_cast<float>(size);
  const float place = lesser(greater(coordinate * count - 0.5f, 0.0f), count);
  const std::int32_t first = std::min(static_cast<std::int32_t>(place), size - 1);
  return {first, place - static_cast<float>(first)};
}

/// Bilinear between the four nearest pixels, clamped at the edges: red, green, blue and alpha, or anything
/// where there is none.
/// @param s, t right and down, 0 to 1; places outside are taken for the edge's, what is no number for 0.
inline Quad bilinear(const PixelView& pixels, float s, float t) {
  const Place column = placeOf(s, pixels.width);
  const Place row = placeOf(t, pixels.height);
  const auto width = static_cast<std::size_t>(pixels.width);
  const std::size_t upper =
      static_cast<std::size_t>(row.first) * width + static_cast<std::size_t>(column.first);
  const std::size_t lower = row.first + 1 < pixels.height ? upper + width : upper;
  const float* const above = pixels.rgb + 3 * upper;
  const float* const below = pixels.rgb + 3 * lower;
  const float* const alpha = pixels.alpha;
  if (column.first + 1 < pixels.width) {
    // Of two neighbours, r g b r g b, the second is what lies behind the third float.
    const auto between = [&](const float* rgb) {
      const Quad second = load(rgb + 2);
      return mix(load(rgb), __builtin_shufflevector(second, second, 1, 2, 3, 3), column.part);
    };
    Quad color = mix(between(above), between(below), row.part);
    if (alpha) {
      color[3] = mix(mix(alpha[upper], alpha[upper + 1], column.part),
                     mix(alpha[lower], alpha[lower + 1], column.part), row.part);
    }
    return color;
  }
  const auto single = [&](const float* rgb, std::size_t i) {
    return Quad{rgb[0], rgb[1], rgb[2], alpha ? alpha[i] : 0.0f};
  };
  return mix(single(above, upper), single(below, lower), row.part);
}

}  // namespace orv::host
