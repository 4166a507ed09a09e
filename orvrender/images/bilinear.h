#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "orvrender/files/Pixels.h"
#include "orvrender/images/Quad.h"

namespace orv::host {

/// Pixels that somebody else owns, as `Pixels` has them.
struct PixelView {
  PixelView() = default;
  PixelView(std::int32_t w, std::int32_t h, const float* rgbPixels, const float* alphaPixels)
      : rgb(rgbPixels),
        alpha(alphaPixels),
        width(w),
        height(h),
        size{static_cast<float>(w), static_cast<float>(h)},
        last{lastPlace(w), lastPlace(h)} {}

  const float* rgb = nullptr;
  const float* alpha = nullptr;  ///< null: 1 everywhere
  std::int32_t width = 0;
  std::int32_t height = 0;
  Quad size{};  ///< width, height, 0, 0
  Quad last{};  ///< the last column, the last row, 0, 0

 private:
  /// The last of `count` pixels, or the float before it where there is no such float.
  static float lastPlace(std::int32_t count) {
    const auto nearest = static_cast<float>(count - 1);
    return static_cast<double>(nearest) < count ? nearest : std::nextafter(nearest, 0.0f);
  }
};

inline PixelView viewOf(const Pixels& pixels) {
  return {static_cast<std::int32_t>(pixels.width), static_cast<std::int32_t>(pixels.height), pixels.rgb.get(),
          pixels.alpha.get()};
}

template <typename Value, typename Weight>
Value mix(Value a, Value b, Weight weight) {
  return a + (b - a) * weight;
}

/// Bilinear between the four nearest pixels, whose centres lie at (i + 0.5) / size, clamped at the edges:
/// red, green, blue and alpha, 1 where there is none.
/// @param at right and down, 0 to 1; places outside are taken for the edge's, what is no number for 0.
[[gnu::always_inline]] inline Quad bilinear(const PixelView& pixels, Quad at) {
  constexpr Quad kHalf{0.5f, 0.5f, 0.5f, 0.5f};
  // The pixel before the place on either axis, and how far it is on to the next.
  const Quad place = lesser(greater(at * pixels.size - kHalf, Quad{}), pixels.last);
  const IntQuad first = __builtin_convertvector(place, IntQuad);
  const Quad part = place - __builtin_convertvector(first, Quad);
  const Quad across = __builtin_shufflevector(part, part, 0, 0, 0, 0);
  const Quad down = __builtin_shufflevector(part, part, 1, 1, 1, 1);

  const auto column = static_cast<std::size_t>(first[0]), row = static_cast<std::size_t>(first[1]);
  const auto width = static_cast<std::size_t>(pixels.width);
  const std::size_t upper = row * width + column;
  const std::size_t lower = first[1] + 1 < pixels.height ? upper + width : upper;
  const bool isLastColumn = first[0] + 1 >= pixels.width;
  const auto between = [&](std::size_t i) {
    const float* const rgb = pixels.rgb + 3 * i;
    if (isLastColumn) [[unlikely]]
      return Quad{rgb[0], rgb[1], rgb[2], 1};
    // Of two neighbours, r g b r g b, the second is what lies behind the third float.
    const Quad second = load(rgb + 2);
    return mix(load(rgb), __builtin_shufflevector(second, second, 1, 2, 3, 3), across);
  };
  const Quad color = mix(between(upper), between(lower), down);
  if (!pixels.alpha) [[likely]]
    return __builtin_shufflevector(color, Quad{1, 1, 1, 1}, 0, 1, 2, 7);
  const auto alphaBetween = [&](std::size_t i) {
    const float* const alpha = pixels.alpha + i;
    return isLastColumn ? alpha[0] : mix(alpha[0], alpha[1], across[0]);
  };
  return Quad{color[0], color[1], color[2], mix(alphaBetween(upper), alphaBetween(lower), down[0])};
}

}  // namespace orv::host
