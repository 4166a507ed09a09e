#pragma once

#include <cstddef>

#include "hdri/Brush.h"
#include "maps/BlockedMap.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// Colour correction of eight pixels at a time, made once from a brush's adjustments. Steps run in the order
/// saturation, hue, scale, gamma; those that would change nothing (by 1e-5) are switched off. Of finite
/// pixels it makes finite ones: what overflows is the largest finite float. Immutable, any number of threads.
///
/// Against double precision the error is below 2e-6 of the pixel's largest channel, with gamma below 5e-6
/// (tests/backgrounds/ColorAdjustment_test.cpp).
class ColorAdjustment {
 public:
  explicit ColorAdjustment(const Adjustments& adjustments);

  /// Whether any step is on.
  bool active() const { return saturationOn_ || hueOn_ || scaleOn_ || gammaOn_; }
  bool saturationOn() const { return saturationOn_; }
  bool hueOn() const { return hueOn_; }
  bool scaleOn() const { return scaleOn_; }
  bool gammaOn() const { return gammaOn_; }
  /// Whether brightness and tint turn the sign of a channel.
  bool negates() const { return negates_; }

  /// Adjusts `count` blocks in place. Steps run one after the other over all of them, so that each is a short
  /// loop: a few dozen blocks a call stay in the first-level cache.
  void apply(Block* blocks, std::size_t count) const;

 private:
  Float8 invGamma_;
  Float8 hueShift_;
  Float8 saturation_;
  Float8 scale_[3];  ///< brightness x tint
  bool gammaOn_;
  bool saturationOn_;
  bool hueOn_;
  bool scaleOn_;
  bool negates_ = false;
};

/// c^exponent of each lane for a positive exponent; 0 for c below the smallest normal float or not a number,
/// the largest finite float where the power is larger. Logarithm and exponential after Cephes (Moshier
/// 1984-1992), their product carried in two parts; relative error below 2e-7 + 6e-8 * exponent where the
/// power is a normal float.
Float8 power(Float8 c, Float8 exponent);

}  // namespace orv::hdri::blockedAVX2
