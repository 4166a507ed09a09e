#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "maps/BlockedMap.h"
#include "simd/Float8.h"

namespace orv::hdri {
class GradientBrush;
}

namespace orv::hdri::blockedAVX2 {

/// Evaluates a gradient's colors and opacities eight positions at a time, with the same values as
/// `evalColor` and `evalCurve` of the brush. Immutable, any number of threads.
class GradientTable {
 public:
  /// @throws std::bad_alloc.
  explicit GradientTable(const GradientBrush& brush);

  /// Whether the brush's positions ascend; otherwise only the brush itself can say what lies where.
  bool usable() const { return color_.ascending && opacity_.ascending; }

  /// Stores the colors at `t` and gives the opacities. Only when `usable`.
  Float8 evaluate(Float8 t, Block& color) const;

 private:
  /// The segments of one list of stops, as arrays of whole vectors that lanes look up in. Segment 0 lies
  /// before the first stop, the last behind the last stop. A channel is `base + change * s`.
  template <std::size_t channels>
  struct Segments {
    bool ascending = true;
    std::vector<float> positions;  ///< of the stops
    std::vector<float> start;      ///< position of the segment's first stop
    std::vector<float> invLength;  ///< 1 / its length
    std::vector<float> cubic;      ///< coefficients of the blend s in u
    std::vector<float> square;
    std::vector<float> linear;
    std::array<std::vector<float>, channels> base;
    std::array<std::vector<float>, channels> change;

    template <typename Stop, typename Value>
    void build(const std::vector<Stop>& stops, const Value& valueOf);
    Float8 at(const std::vector<float>& table, Int8 index) const;
    void evaluate(Float8 t, Float8 (&values)[channels]) const;
  };

  Segments<3> color_;
  Segments<1> opacity_;
};

}  // namespace orv::hdri::blockedAVX2
