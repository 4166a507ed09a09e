#pragma once

#include <cstddef>
#include <cstdint>

namespace orv::hdri::blockedAVX2 {

/// What is past the ends of a line: nothing, or the line from its other end.
enum class Ends { truncated, wrapped };

/// Outputs that one step of `filterLine` makes.
inline constexpr std::size_t kFilterOutputs = 6;

/// Filters a line of eight-lane values with a symmetric kernel:
///   out(p) = w(0) line(p) + sum of w(d) (line(p - d) + line(p + d)) over d = 1 ... radius
/// for p = 0 ... count - 1. Values are eight floats one after the other, 32-byte aligned.
/// @param line value 0; values -radius ... outputs - 1 + radius are read, where `outputs` is `count` rounded
///        up to a multiple of kFilterOutputs, the number of values that are written to `out`.
/// @param weights the half kernel, w(0) first.
/// @param zeroOutside whether all values outside 0 ... count - 1 are 0, so that steps which only meet such
///        values are left out.
void filterLine(const float* line, std::size_t count, const float* weights, std::size_t radius,
                bool zeroOutside, float* out);

}  // namespace orv::hdri::blockedAVX2
