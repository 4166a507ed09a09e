#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "orvrender/sky/SkyConditions.h"
#include "orvrender/sky/SkyView.h"
#include "orvrender/sky/SunDisc.h"

namespace orv::host {

/// An atmosphere computed from physics, after Hillaire 2020 with eight wavelengths (docs/sky.md). Tables are
/// built when a render first needs them and kept for the next. Used from one thread at a time.
class SkyModel {
 public:
  /// Renders sky, ground and sun: width x height interleaved linear RGB floats, row 0 nearest the zenith; 1.0
  /// is 5000 cd/m2. Every value is finite and at least 0. Parallel over rows; the result does not depend on
  /// the number of threads. @throws std::bad_alloc.
  void render(const SkyConditions& conditions, const SunPlace& sun, float* rgb, std::uint32_t width,
              std::uint32_t height);

  /// How often the tables of the air, and the view for a sun, have been built.
  std::uint32_t airBuilds() const { return airBuilds_; }
  std::uint32_t viewBuilds() const { return viewBuilds_; }

 private:
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();  // equals nothing

  void renewTables(const SkyConditions& conditions, double sunElevation);
  void paintSky(const SkyConditions& conditions, const SunPlace& sun, float* rgb, std::uint32_t width,
                std::uint32_t height) const;

  Atmosphere air_{1, 0, 0};
  // What the tables were built for.
  double turbidity_ = kNone, ozone_ = kNone, groundAlbedo_ = kNone;
  double sunElevation_ = kNone;
  double discSize_ = kNone;
  std::uint32_t airBuilds_ = 0, viewBuilds_ = 0;

  TransmittanceTable transmittance_;
  MultipleScatteringTable multiple_;
  SkyView view_;
  std::optional<SunDisc> disc_;
};

}  // namespace orv::host
