#include "orvrender/sky/ReferenceSky.h"

#include <algorithm>
#include <cmath>

#include "orvrender/Cancel.h"
#include "orvrender/sky/SkyModel.h"
#include "orvrender/sky/solar_position.h"

namespace orv::host {

ReferenceSky::ReferenceSky(const Cancel* cancel) : cancel_(cancel) {}
ReferenceSky::~ReferenceSky() = default;

void ReferenceSky::render(const void*, float* rgb, std::uint32_t width, std::uint32_t height) {
  if (!model_) model_ = std::make_unique<SkyModel>();
  static const Cancel never;
  const Cancel::Scope cancels(cancel_ ? *cancel_ : never);
  try {
    model_->render(conditionsOf(*this), sun(), rgb, width, height);
  } catch (const LoopStopped&) {
    // Who asked for it wants it no longer. Tables that are not whole are built by the next render.
  }
}

void ReferenceSky::set_sun_direction(const double* direction) {
  direction_.reset();
  if (!direction) return;
  const double length = std::hypot(direction[0], direction[1], direction[2]);
  if (!std::isfinite(length) || !(length > 0)) return;
  direction_ = {direction[0] / length, direction[1] / length, direction[2] / length};
}

void ReferenceSky::use_own_sun() { direction_.reset(); }

SunPlace ReferenceSky::sun() const {
  if (direction_) {
    // Light travels away from the sun; the host's y axis is the map's z. Straight up has longitude 0, for
    // which no zero may be negative.
    const auto& d = *direction_;
    return {std::atan2(d[2], 0.0 - d[0]), std::asin(std::clamp(-d[1], -1.0, 1.0))};
  }
  const SkyConditions conditions = conditionsOf(*this);
  const double days = daysFromJ2000(conditions.dayOfYear, static_cast<double>(conditions.hours),
                                    static_cast<double>(conditions.timeZone));
  const SolarPosition position = solarPosition(days, static_cast<double>(conditions.latitude),
                                               static_cast<double>(conditions.longitude));
  // Compass bearings run to the right like the map's longitudes; south lies in its middle.
  const double azimuth =
      std::remainder(position.azimuth - 180 + static_cast<double>(conditions.northOffset), 360.0);
  return {azimuth * (kPi / 180), position.elevation * (kPi / 180)};
}

}  // namespace orv::host
