#pragma once

#include <cstdint>
#include <vector>

#include "backgrounds/RingSpectra.h"
#include "backgrounds/SphereRings.h"

namespace orv::hdri::blockedAVX2 {

/// The heat kernel on the sphere as its series of spherical harmonics:
///   K = sum over l, m of exp(-l (l + 1) sigma^2 / 2) Y(l, m) Y*(l, m),
/// l up to where the factor falls to 1e-10.
class HarmonicFilter {
 public:
  /// Degrees up to here are filtered faster than by `NearFilter`, and far from the recurrence's underflow.
  static constexpr double kHighestDegree = 400;

  /// The largest l whose factor is at least 1e-10; `sigma` above 0, radians.
  static double highestDegree(double sigma);

  /// @param rings must outlive the filter. @param sigma radians; its highest degree within kHighestDegree.
  HarmonicFilter(const SphereRings& rings, double sigma);

  /// The first group of rings of each frequency that matters. Nearer to the pole the harmonics of order m are
  /// negligible: there m > L sin theta + 30 + 0.02 L.
  std::vector<std::uint32_t> firstGroups() const;

  /// How often a ring's north + south counts: once, but half for the middle row, which is both.
  double share(std::uint32_t pair) const { return 2 * pair + 1 == rings_.height ? 0.5 : 1.0; }

  /// Replaces the weighted spectra by their filtered ones, frequencies in parallel. @throws std::bad_alloc.
  void apply(RingSpectra& spectra) const;

  /// The filter on maps without azimuth: the sums over all rings for weighted values of the pairs, which are
  /// the same in both hemispheres.
  void applyToRings(const std::vector<double>& in, std::vector<double>& out) const;

 private:
  struct Scratch;
  template <int values, int parities>
  void filterOrder(std::uint32_t order, std::uint32_t firstGroup, const Double4* in, Double4* out,
                   Scratch& scratch) const;
  std::vector<std::uint32_t> ordersOf(std::uint32_t frequency) const;
  std::uint32_t firstGroup(std::uint32_t order) const;

  const SphereRings& rings_;
  std::uint32_t degree_;         // the highest
  std::vector<double> factors_;  // of each l
};

}  // namespace orv::hdri::blockedAVX2
