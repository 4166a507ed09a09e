#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "orvrender/sky/Atmosphere.h"
#include "orvrender/sky/SkyConditions.h"

namespace orv::host {

/// The sun's disc as the air lets it through: darker towards its limb (Hestroffer & Magnan 1998) and towards
/// the ground, cut off by the horizon.
class SunDisc {
 public:
  /// @param elevation radians.
  /// @param size the disc's diameter over the true one; its light stays the same.
  SunDisc(const Atmosphere& air, double elevation, double size);

  /// Adds the disc, `intensity` times as bright, to a map of RGB floats. The map gains the disc's light to
  /// rounding, however few pixels it covers. Parallel over rows.
  /// @param azimuth the sun's, radians along the map.
  void addTo(float* rgb, std::uint32_t width, std::uint32_t height, double azimuth, double intensity) const;

 private:
  static constexpr std::size_t kRings = 64;
  static constexpr std::size_t kElevations = 25;
  class Sampling;

  /// Weights of the limb's spectrum, for each colour, at one elevation.
  struct Weights {
    Spectrum r, g, b;
  };
  /// Radiance over the disc's mean outside the air, at least 0, from limb to centre at one elevation. Ring j
  /// lies where 1 - haversine(distance) / haversine(radius) is (j / kRings)^4, so that rings are dense at the
  /// limb, where brightness falls steeply, and straight lines between them serve.
  struct Profile {
    struct alignas(16) Ring {
      float rgb[4];
    };
    std::array<Ring, kRings + 1> rings;
  };
  /// The four tabulated elevations about one and their weights: a cubic through them.
  struct Stencil {
    std::size_t first;
    std::array<float, 4> weights;
  };

  Stencil stencilAt(double elevation) const;
  void profileAt(double elevation, Profile& out) const;
  /// The mean over the disc's area: the light on a plane facing the sun.
  Color3 meanOfDisc() const;

  /// At elevations from the lowest part above the horizon to the top, closer together below, where the air
  /// dims more and more steeply: node k lies at the share (k / (kElevations - 1))^2.
  std::array<Weights, kElevations> weights_;
  std::array<Profile, kElevations> profiles_;
  double elevation_;
  double radius_;
  double bottom_;  // elevation of the lowest part above the horizon
  Color3 mean_;
};

}  // namespace orv::host
