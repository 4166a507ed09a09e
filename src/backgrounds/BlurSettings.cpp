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

bool BlurSettings::makeKernel(std::uint32_t width, std::uint32_t height, float maximum) {
  kernel_ = AlignedFloats();
  if (width == 0 || height == 0) return false;
  const float sigma = (static_cast<float>(width) / 100.0f) * (amount_ * 0.5f);
  // Negated, so that a sigma that is not a number makes no kernel either.
  if (!(std::exp(-1.0f / (2.0f * sigma * sigma)) >= kSmallestNeighbour)) return false;

  // max() keeps its first argument where the maximum is not a number.
  const float reach = std::ceil(sigma * std::sqrt(-2.0f * std::log(0.1f / std::max(1.0f, maximum))));
  const std::uint32_t radius = std::min(radiusWithin(reach, width), radiusWithin(reach, height));

  kernel_ = AlignedFloats(radius + std::size_t{1});
  const double twoSigmaSquared = 2.0 * double{sigma} * double{sigma};
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
