#pragma once

#include <array>
#include <cstdint>

#include "orvrender/sky/Atmosphere.h"
#include "orvrender/sky/SkyConditions.h"

namespace orv::host {

/// The sun's disc as the air lets it through: darker towards its limb (Hestroffer & Magnan 1998) and towards
/// the ground, cut off by the horizon.
class SunDisc {
 public:
  /// @param size the disc's diameter over the true one; its light stays the same.
  SunDisc(const Atmosphere& air, const SunPlace& sun, double size);

  /// Adds the disc, `intensity` times as bright, to a map of RGB floats. The map gains the disc's light to
  /// rounding, however few pixels it covers. Parallel over rows.
  void addTo(float* rgb, std::uint32_t width, std::uint32_t height, double intensity) const;

 private:
  static constexpr int kElevations = 65;  // evenly across the disc
  class Sampling;

  /// Weights of the limb's spectrum, for each colour, at one elevation.
  struct Weights {
    Spectrum r, g, b;
  };

  Weights weightsAt(double elevation) const;
  /// Radiance at `q` of the radius from the centre, at least 0, over the disc's mean outside the air.
  static Color3 radiance(const Weights& weights, double q);
  /// Its mean over the disc's area: the light on a plane facing the sun.
  Color3 mean() const;

  SunPlace sun_;
  double radius_;
  std::array<Weights, kElevations> weights_;
};

}  // namespace orv::host
