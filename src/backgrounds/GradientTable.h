#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "maps/BlockedMap.h"
#include "simd/Float8.h"

namespace orv::hdri {
class GradientBrush;
}

namespace orv::hdri::blockedAVX2 {

/// Evaluates a gradient's colors and opacities at the positions of whole batches, with the same values as
/// `evalColor` and `evalCurve` of the brush. Planes are 32-byte aligned. Immutable, any number of threads.
class GradientTable {
 public:
  /// @throws std::bad_alloc.
  explicit GradientTable(const GradientBrush& brush);

  /// Whether the brush's positions ascend; otherwise only the brush itself can say what lies where.
  bool usable() const { return color_.ascending && opacity_.ascending; }
  /// Whether the opacity is 1 everywhere, for want of a curve.
  bool opaque() const { return opaque_; }

  /// The colors of `out.size()` blocks at the positions `t`, eight a block. Only when `usable`.
  void colors(const float* t, std::span<Block> out) const;
  /// weight = coverage x opacity at t, for `blocks` blocks; planes may be the same. Only when `usable`.
  void weights(const float* t, const float* coverage, std::size_t blocks, float* weight) const;

 private:
  /// The segments of one list of stops, as arrays of whole vectors that lanes look up in. Segment 0 lies
  /// before the first stop, the last behind the last stop. A channel is `base + change * s`.
  template <std::size_t channels>
  struct Segments {
    bool ascending = true;
    std::size_t count = 0;         ///< of the stops
    std::vector<float> positions;  ///< of the stops, padded by NaN, which no position lies behind
    std::vector<float> start;      ///< position of the segment's first stop
    std::vector<float> invLength;  ///< 1 / its length
    std::vector<float> cubic;      ///< coefficients of the blend s in u
    std::vector<float> square;
    std::vector<float> linear;
    std::array<std::vector<float>, channels> base;
    std::array<std::vector<float>, channels> change;

    template <typename Stop, typename Value>
    void build(const std::vector<Stop>& stops, const Value& valueOf);
    template <typename Store>
    void evaluate(const float* t, std::size_t blocks, const Store& storeValues) const;
    template <typename Store>
    void evaluateFour(const float* t, std::size_t blocks, const Store& storeValues) const;
    template <typename Store>
    void evaluateSeven(const float* t, std::size_t blocks, const Store& storeValues) const;
    template <typename Store>
    void evaluateMany(const float* t, std::size_t blocks, const Store& storeValues) const;
    template <typename Store>
    void evaluateBySearch(const float* t, std::size_t blocks, const Store& storeValues) const;
  };

  Segments<3> color_;
  Segments<1> opacity_;
  bool opaque_;
};

}  // namespace orv::hdri::blockedAVX2
