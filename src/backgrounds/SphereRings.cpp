#include "backgrounds/SphereRings.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::hdri::blockedAVX2 {

SphereRings::SphereRings(std::uint32_t mapWidth, std::uint32_t mapHeight)
    : width(mapWidth),
      height(mapHeight),
      pairs(mapHeight / 2 + mapHeight % 2),
      groups((pairs + 15) / 16 * 4) {
  constexpr double kPi = std::numbers::pi;
  // The ring between theta - h and theta + h is 2 pi (cos(theta - h) - cos(theta + h)) = 4 pi sin theta sin
  // h.
  const double pixel = 4.0 * kPi / width * std::sin(0.5 * kPi / height);
  for (std::uint32_t i = 0; i < 4 * groups; ++i) {
    const double theta = (std::min(i, pairs - 1) + 0.5) / height * kPi;
    polarAngle.push_back(theta);
    cosine.push_back(2 * i + 1 == height ? 0.0 : std::cos(theta));
    sine.push_back(std::sin(theta));
    pixelArea.push_back(i < pairs ? pixel * sine.back() : 0.0);
  }
}

std::vector<double> balancingScale(
    const SphereRings& rings,
    const std::function<void(const std::vector<double>& in, std::vector<double>& out)>& filter) {
  std::vector<double> scale(rings.pixelArea.size(), 1.0), weighted(scale.size()), filtered(scale.size());
  for (int round = 0; round < 60; ++round) {
    for (std::size_t i = 0; i < scale.size(); ++i) weighted[i] = rings.pixelArea[i] * scale[i];
    filter(weighted, filtered);
    double worst = 0;
    for (std::size_t i = 0; i < rings.pairs; ++i) {
      const double constant = scale[i] * filtered[i];
      worst = std::max(worst, std::abs(constant - 1.0));
      // The step to the power of 2/3 takes at least two thirds of every error away: with eigenvalues from 0
      // to 1, errors are multiplied by 1 - 2/3 (1 + eigenvalue).
      scale[i] /= std::cbrt(constant * constant);
    }
    if (worst < 1e-12) break;
  }
  return scale;
}

}  // namespace orv::hdri::blockedAVX2
