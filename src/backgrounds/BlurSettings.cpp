#include "backgrounds/BlurSettings.h"

#include <algorithm>
#include <cmath>

namespace orv::hdri::blockedAVX2 {
namespace {

/// Below this neighbour's weight a pixel keeps all of its light.
constexpr float kSmallestNeighbour = 1e-10f;

/// `reach` as a whole number of at most `size` - 1. It is limited while it is a float: it may be infinite.
std::uint32_t radiusWithin(float reach, std::uint32_t size) {
  return reach < static_cast<float>(size) ? std::min(static_cast<std::uint32_t>(reach), size - 1) : size - 1;
}

}  // namespace

float BlurSettings::sigma(std::uint32_t width) const {
  return (static_cast<float>(width) / 100.0f) * (amount_ * 0.5f);
}

bool BlurSettings::reachesNeighbours(std::uint32_t width) const {
  // False for a sigma that is not a number, too.
  const float s = sigma(width);
  return std::exp(-1.0f / (2.0f * s * s)) >= kSmallestNeighbour;
}

bool BlurSettings::makeKernel(std::uint32_t width, std::uint32_t height, float maximum) {
  kernel_ = AlignedFloats();
  if (width == 0 || height == 0) return false;
  if (!reachesNeighbours(width)) return false;
  const float s = sigma(width);

  // max() keeps its first argument where the maximum is not a number.
  const float reach = std::ceil(s * std::sqrt(-2.0f * std::log(0.1f / std::max(1.0f, maximum))));
  const std::uint32_t radius = std::min(radiusWithin(reach, width), radiusWithin(reach, height));

  kernel_ = AlignedFloats(radius + std::size_t{1});
  const double twoSigmaSquared = 2.0 * double{s} * double{s};
  const auto weight = [&](double i) { return std::exp(-i * i / twoSigmaSquared); };
  double sum = 1.0;
  for (std::uint32_t i = 1; i <= radius; ++i) sum += 2.0 * weight(i);
  for (std::uint32_t i = 0; i <= radius; ++i) kernel_[i] = static_cast<float>(weight(i) / sum);
  return true;
}

std::uint32_t BlurSettings::radius() const {
  return kernel_.size() == 0 ? 0 : static_cast<std::uint32_t>(kernel_.size() - 1);
}

}  // namespace orv::hdri::blockedAVX2
