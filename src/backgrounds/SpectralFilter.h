#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backgrounds/FastTransform.h"
#include "backgrounds/symmetric_filter.h"
#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {

/// What `filterLine` makes, in a time that does not depend on the kernel's radius: the line and the kernel
/// are multiplied as Fourier transforms, in double precision. The kernel is real and even, and so is its
/// transform: two real lines go through as the real and imaginary part of one and come out apart.
/// Const operations are callable from many threads.
class SpectralFilter {
 public:
  /// The radius from which on it is faster than `filterLine`, measured on lines of 1024 to 4096 values.
  static constexpr std::size_t kLeastRadius = 56;

  /// @param weights the half kernel, w(0) first; its radius is below `count`.
  /// @param count values of a line, at least 1.
  SpectralFilter(const AlignedFloats& weights, std::uint32_t count, Ends ends);

  /// Points that `filter` works on.
  std::uint32_t points() const { return transform_.length(); }

  /// Filters a line of eight-lane values, 0 ... count - 1, into `out`. Results are rounded once. A mean is
  /// not below its values: rounding errors do not make a lane's results less than its least value, or than 0.
  /// @param scale a factor for each result, or null. @param points `points()` of them, to work on.
  /// @return false, and nothing done, for a line with values that the transform would not keep apart: one
  ///         that is not a number, infinite or so large (beyond 1e8) that the others would drown in its
  ///         rounding error, which is about 1e-16 of it.
  bool filter(const float* line, const float* scale, Complex4* points, float* out) const;

 private:
  std::uint32_t count_;
  std::uint32_t wrapped_;  // values that a line goes on past each of its ends
  FastTransform transform_;
  std::vector<double> spectrum_;  // of the kernel, divided by the length
};

}  // namespace orv::hdri::blockedAVX2
