#pragma once

#include <vector>

#include "orvrender/sky/TransmittanceTable.h"

namespace orv::host {

/// Light that has been scattered at least twice, taken as the same from all sides (Hillaire 2020): radiance a
/// unit of scattering, 48 sun elevations x 24 heights. Over the sun's elevation and as logarithms, for
/// twilight falls by orders of magnitude within a few degrees.
class MultipleScatteringTable {
 public:
  static constexpr int kWidth = 48;   ///< sun from -30 to 90 degrees, evenly
  static constexpr int kHeight = 24;  ///< height = depth of the air x (row / 23)^2

  MultipleScatteringTable() : logarithms_(kWidth * kHeight) {}

  /// Fills the table, in parallel.
  void build(const Atmosphere& air, const TransmittanceTable& transmittance);

  const Spectrum* logarithms() const { return logarithms_.data(); }

 private:
  std::vector<Spectrum> logarithms_;
};

/// Sun elevations of the table's edges, radians.
inline constexpr double kLowestTableSun = -kPi / 6;
inline constexpr double kTableSunRange = 2 * kPi / 3;

}  // namespace orv::host
