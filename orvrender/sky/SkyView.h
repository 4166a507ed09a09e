#pragma once

#include <vector>

#include "orvrender/sky/MultipleScatteringTable.h"

namespace orv::host {

/// Colours of a node of the sky view: light scattered by the air and by whatever came more than once, and the
/// light that the aerosol scattered once, still without its phase function.
struct alignas(32) SkyNode {
  float air[4];      ///< RGB, 0
  float aerosol[4];  ///< RGB a unit of phase function, 0
};

/// The sky above an observer on the ground for one elevation of the sun: 64 azimuths from the sun, 0 to pi, x
/// 128 elevations, (pi / 2) (row / 127)^2.
class SkyView {
 public:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 128;

  SkyView() : nodes_(kWidth * kHeight) {}

  /// Fills the view, in parallel. @param sunElevation radians.
  void build(const Atmosphere& air, const TransmittanceTable& transmittance,
             const MultipleScatteringTable& multiple, double sunElevation);

  const SkyNode* row(int y) const { return nodes_.data() + static_cast<std::size_t>(y) * kWidth; }

  /// Light of the sky on a horizontal plane.
  const Color3& skyIrradiance() const { return skyIrradiance_; }
  /// Light of the sun on a plane facing it.
  const Color3& sunIrradiance() const { return sunIrradiance_; }

 private:
  std::vector<SkyNode> nodes_;
  Color3 skyIrradiance_;
  Color3 sunIrradiance_;
};

}  // namespace orv::host
