#pragma once

#include <vector>

#include "orvrender/sky/Atmosphere.h"

namespace orv::host {

/// What the air lets through from a height to its top, for directions that do not meet the ground: 256 x 64
/// nodes, mapped after Bruneton & Neyret 2008. Row: rho / H, where rho is the tangent length from the ground
/// to the height and H that to the top; column: length of the path between the shortest (up) and the longest
/// (along the horizon). Forward-scattered light counts as let through.
class TransmittanceTable {
 public:
  static constexpr int kWidth = 256;
  static constexpr int kHeight = 64;

  TransmittanceTable() : nodes_(kWidth * kHeight) {}

  /// Fills the table, in parallel.
  void build(const Atmosphere& air);

  const Spectrum* nodes() const { return nodes_.data(); }

 private:
  std::vector<Spectrum> nodes_;
};

}  // namespace orv::host
