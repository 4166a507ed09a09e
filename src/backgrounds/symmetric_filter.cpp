#include "backgrounds/symmetric_filter.h"

#include <algorithm>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr int kOutputs = static_cast<int>(kFilterOutputs);

/// Six outputs from `centre` on: six sums in registers, which each weight serves at once. The window in front
/// of the outputs moves by one value a step, so that the compiler keeps it in registers and loads one; the
/// one behind is made of memory operands, for sixteen registers do not hold both.
inline void filterSix(const float* centre, const float* weights, std::ptrdiff_t reach, float* out) {
  Float8 sum[kOutputs];
  const Float8 w0 = splat(weights[0]);
  for (int i = 0; i < kOutputs; ++i) sum[i] = w0 * load(centre + 8 * i);
  const float* front = centre;
  const float* behind = centre;
#pragma GCC unroll 6
  for (std::ptrdiff_t d = 1; d <= reach; ++d) {
    front -= 8;
    behind += 8;
    // Hides from the compiler that the window behind overlaps the last step's: it would spill to keep it.
    asm("" : "+r"(behind));
    const Float8 w = splat(weights[d]);
    for (int i = 0; i < kOutputs; ++i) sum[i] = fma(w, load(front + 8 * i) + load(behind + 8 * i), sum[i]);
  }
  for (int i = 0; i < kOutputs; ++i) store(out + 8 * i, sum[i]);
}

}  // namespace

void filterLine(const float* line, std::size_t count, const float* weights, std::size_t radius,
                bool zeroOutside, float* out) {
  for (std::size_t p = 0; p < count; p += kFilterOutputs) {
    // The farthest value inside the line, seen from any of the six.
    const std::size_t inside = std::max(p + kFilterOutputs - 1, count - 1 - p);
    const std::size_t reach = zeroOutside ? std::min(radius, inside) : radius;
    filterSix(line + 8 * p, weights, static_cast<std::ptrdiff_t>(reach), out + 8 * p);
  }
}

}  // namespace orv::hdri::blockedAVX2
