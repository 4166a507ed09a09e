#pragma once

#include <cstdint>
#include <vector>

#include "backgrounds/RingSpectra.h"
#include "backgrounds/SphereRings.h"
#include "maps/AlignedArray.h"

namespace orv::hdri::blockedAVX2 {

/// The heat kernel on the sphere for small sigma, as the distribution of von Mises and Fisher
///   K = kappa / (2 pi (1 - exp(-2 kappa))) exp(-kappa (1 - cos distance)),  kappa = 1 / sigma^2 + 1 / 6,
/// which has the heat kernel's peak and differs from it by at most 0.08 sigma^2 of the peak. Between two
/// rings its Fourier coefficients are
///   K(m) = peak exp(-kappa (1 - cos(theta - theta'))) exp(-z) I(m, z)
/// with z = kappa sin theta sin theta' and the modified Bessel functions I: a ring meets the rings within 6.8
/// sigma, and over the poles it goes on by itself, for the distance is the sphere's.
class NearFilter {
 public:
  /// @param rings must outlive the filter. @param sigma above 0, radians. Runs in parallel.
  /// @throws std::bad_alloc.
  NearFilter(const SphereRings& rings, double sigma);

  /// The first group of rings of each frequency whose coefficients matter.
  std::vector<std::uint32_t> firstGroups() const;
  double share(std::uint32_t) const { return 1.0; }

  /// The kernel's recurrence between four rings and a neighbour of each.
  struct Neighbour {
    Double4 step;             ///< 2 / z
    Double4 seed;             ///< what a lane starts with
    Double4 now, above;       ///< the values of two orders
    std::uint32_t orders[4];  ///< where each lane starts, its highest order that matters
    std::uint32_t next;       ///< the highest order where a lane is still to start

    /// Starts the lanes whose highest order is m, which is `next`.
    void start(std::uint32_t m);
    /// From order m to m - 1.
    void descend(std::uint32_t m);
  };

  /// What one thread needs.
  struct Scratch {
    explicit Scratch(const NearFilter& filter);
    AlignedArray<PairSpectrum> results;  ///< of each group and frequency
    AlignedArray<Double4> window;        ///< of one frequency, the rings that the groups meet
    AlignedArray<Double4> table;         ///< coefficients of each group and a few orders
    AlignedArray<Neighbour> neighbours;  ///< of each group
  };
  /// Groups that are filtered together, for they meet the same rings.
  static constexpr std::uint32_t kStrip = 4;
  /// Filters the groups from `first` to at most first + kStrip - 1: all frequencies that a group has.
  void filterStrip(const RingSpectra& spectra, std::uint32_t first, Scratch& scratch) const;
  /// What it gave for its group first + index.
  const PairSpectrum& result(const Scratch& scratch, std::uint32_t index, std::uint32_t frequency) const {
    return scratch.results[std::size_t{index} * frequencies_ + frequency];
  }

  /// As HarmonicFilter's.
  void applyToRings(const std::vector<double>& in, std::vector<double>& out) const;

 private:
  std::uint32_t neighbours() const { return 2 * reach_ + 1; }
  Neighbour begin(std::uint32_t group, std::uint32_t neighbour) const;
  void prepare(std::uint32_t group);
  std::uint32_t highestOrder(double z) const;
  std::int64_t around() const { return (std::int64_t{reach_} + 3) / 4; }  // groups to each side
  std::int64_t windowGroups() const { return 2 * around() + kStrip; }
  void gather(const RingSpectra& spectra, std::uint32_t frequency, std::uint32_t first,
              Double4* window) const;
  void addWindow(const Double4* coefficients, const double* window, Double4 times, PairSpectrum& sums) const;

  const SphereRings& rings_;
  double kappa_;
  double peak_;          // of the kernel
  std::uint32_t reach_;  // rings to each side
  std::uint32_t frequencies_;
  AlignedArray<Double4> seeds_;  // of each group and neighbour
  AlignedArray<double> means_;   // of each pair and neighbour: the kernel's sum over the pixels of a ring
};

}  // namespace orv::hdri::blockedAVX2
