#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "maps/AlignedArray.h"
#include "simd/Double4.h"

namespace orv::hdri::blockedAVX2 {

/// What is kept of a frequency and four pairs of rings: of red, green and blue the real and imaginary parts
/// of north + south, then the same of north - south. Lane i is pair 4 group + i.
struct PairSpectrum {
  Double4 values[12];
};

/// Fourier coefficients of a map's rows, pairs of rings in groups of four. Each frequency has the groups from
/// a first one on; those nearer to the pole count as 0.
class RingSpectra {
 public:
  /// @param firstGroups of each frequency from 0 on, at most `groups`. @throws std::bad_alloc.
  RingSpectra(const std::vector<std::uint32_t>& firstGroups, std::uint32_t groups)
      : firstGroups_(firstGroups), groups_(groups) {
    std::size_t size = 0;
    for (const std::uint32_t first : firstGroups) {
      offsets_.push_back(size);
      size += groups - first;
    }
    values_ = AlignedArray<PairSpectrum>(size);
  }

  std::uint32_t frequencies() const { return static_cast<std::uint32_t>(firstGroups_.size()); }
  std::uint32_t groups() const { return groups_; }
  std::uint32_t firstGroup(std::uint32_t frequency) const { return firstGroups_[frequency]; }
  bool has(std::uint32_t frequency, std::uint32_t group) const { return group >= firstGroups_[frequency]; }
  /// A group that the frequency has; the others follow it.
  PairSpectrum& at(std::uint32_t frequency, std::uint32_t group) {
    return values_[offsets_[frequency] + group - firstGroups_[frequency]];
  }
  const PairSpectrum& at(std::uint32_t frequency, std::uint32_t group) const {
    return values_[offsets_[frequency] + group - firstGroups_[frequency]];
  }

 private:
  std::vector<std::uint32_t> firstGroups_;
  std::vector<std::size_t> offsets_;
  std::uint32_t groups_;
  AlignedArray<PairSpectrum> values_;
};

}  // namespace orv::hdri::blockedAVX2
