#include "backgrounds/symmetric_filter.h"

#include <algorithm>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr int kOutputs = static_cast<int>(kFilterOutputs);

/// Six sums and the window of values that lie `distance` in front of them. The window is a ring: value p
/// stands in slot p mod 6, so that a step loads one value and moves none. The values behind are memory
/// operands: sixteen registers hold no second window.
struct Step {
  Float8 sum[kOutputs];
  Float8 front[kOutputs];

  /// Adds the two values at `distance` = 6 n + 1 + phase from each output.
  template <int phase>
  void add(const float* centre, std::ptrdiff_t distance, const float* weights) {
    front[kOutputs - 1 - phase] = load(centre - 8 * distance);
    const Float8 w = splat(weights[distance]);
    const float* behind = centre + 8 * distance;
    for (int i = 0; i < kOutputs; ++i)
      sum[i] = fma(w, front[(i + kOutputs - 1 - phase) % kOutputs] + load(behind + 8 * i), sum[i]);
  }
};

inline void filterSix(const float* centre, const float* weights, std::ptrdiff_t reach, float* out) {
  Step step;
  const Float8 w = splat(weights[0]);
  for (int i = 0; i < kOutputs; ++i) {
    step.front[i] = load(centre + 8 * i);
    step.sum[i] = w * step.front[i];
  }
  std::ptrdiff_t d = 1;
  for (; d + kOutputs - 1 <= reach; d += kOutputs) {
    step.add<0>(centre, d, weights);
    step.add<1>(centre, d + 1, weights);
    step.add<2>(centre, d + 2, weights);
    step.add<3>(centre, d + 3, weights);
    step.add<4>(centre, d + 4, weights);
    step.add<5>(centre, d + 5, weights);
  }
  if (d <= reach) step.add<0>(centre, d, weights);
  if (d + 1 <= reach) step.add<1>(centre, d + 1, weights);
  if (d + 2 <= reach) step.add<2>(centre, d + 2, weights);
  if (d + 3 <= reach) step.add<3>(centre, d + 3, weights);
  if (d + 4 <= reach) step.add<4>(centre, d + 4, weights);
  for (int i = 0; i < kOutputs; ++i) store(out + 8 * i, step.sum[i]);
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
