#include "backgrounds/SpectralFilter.h"

#include <algorithm>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kLargest = 1e8f;

/// The shortest period that keeps the ends apart: of a wrapped line its own, where it has a transform, else
/// one that holds what goes on past both ends; of a truncated one, one that holds the kernel's reach.
std::uint32_t lengthFor(std::uint32_t count, std::uint32_t radius, Ends ends) {
  if (ends == Ends::truncated) return FastTransform::lengthFor(count + radius);
  return FastTransform::fits(count) ? count : FastTransform::lengthFor(count + 2 * radius);
}

}  // namespace

SpectralFilter::SpectralFilter(const AlignedFloats& weights, std::uint32_t count, Ends ends)
    : count_(count),
      wrapped_(0),
      transform_(lengthFor(count, static_cast<std::uint32_t>(weights.size() - 1), ends)),
      spectrum_(transform_.length()) {
  const std::uint32_t length = transform_.length();
  const auto radius = static_cast<std::uint32_t>(weights.size() - 1);
  if (ends == Ends::wrapped && length != count) wrapped_ = radius;

  // The kernel's transform, by the transform itself: its frequencies are then where a line's are.
  std::vector<double> kernel(length);
  for (std::uint32_t i = 0; i <= radius; ++i) {
    kernel[i] += double{weights[i]} / length;
    if (i > 0) kernel[length - i] += double{weights[i]} / length;
  }
  AlignedArray<Complex4> points(length);
  for (std::uint32_t i = 0; i < length; ++i) points[i] = {splat(kernel[i]), zero4()};
  transform_.forward(points.data());
  for (std::uint32_t i = 0; i < length; ++i) {
    alignas(32) double lanes[4];
    store(lanes, points[i].re);
    spectrum_[i] = lanes[0];
  }
}

bool SpectralFilter::filter(const float* line, const float* scale, Complex4* points, float* out) const {
  Mask8 fine = zero8() <= splat(kLargest);
  Float8 least = zero8();
  for (std::size_t p = 0; p < count_; ++p) {
    const Float8 value = load(line + 8 * p);
    fine = fine & (abs(value) <= splat(kLargest));
    least = min(least, value);
    points[p] = {loadFloats(line + 8 * p), loadFloats(line + 8 * p + 4)};
  }
  if (!all(fine)) return false;
  const std::uint32_t length = transform_.length();
  std::copy_n(points, wrapped_, points + count_);
  std::fill(points + count_ + wrapped_, points + length - wrapped_, Complex4{zero4(), zero4()});
  std::copy_n(points + count_ - wrapped_, wrapped_, points + length - wrapped_);

  transform_.filter(points, spectrum_.data());

  alignas(32) float lowest[8];
  store(lowest, least);
  const Double4 lowestRe = loadFloats(lowest), lowestIm = loadFloats(lowest + 4);
  for (std::size_t p = 0; p < count_; ++p) {
    const Double4 factor = splat(scale ? double{scale[p]} : 1.0);
    storeFloats(out + 8 * p, max(factor * points[p].re, lowestRe));
    storeFloats(out + 8 * p + 4, max(factor * points[p].im, lowestIm));
  }
  return true;
}

}  // namespace orv::hdri::blockedAVX2
