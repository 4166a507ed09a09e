#pragma once

#include "orvrender/sky/Atmosphere.h"
#include "orvrender/sky/TransmittanceTable.h"

namespace orv::host {

// Straight paths through the air, eight points at a time.

/// Where a path begins and how steeply it rises.
struct PathStart {
  float height;
  float radius;  ///< from the centre of the earth
  float mu;      ///< cosine of the angle to the zenith
};

struct PathPoints {
  Lanes height;  ///< at least 0
  Lanes radius;
};

/// Points at the distances `t`.
[[gnu::always_inline]] inline PathPoints pointsAt(const PathStart& start, Lanes t) {
  // r^2 - r0^2 = t (t + 2 r0 mu); the height comes from it without taking large numbers from each other.
  const Lanes rise = t * (t + 2.0f * start.radius * start.mu);
  const Lanes r = sqrt(start.radius * start.radius + rise);
  return {max(start.height + rise / (r + start.radius), splat(0)), r};
}

[[gnu::always_inline]] inline Lanes rayleighDensity(Lanes height) {
  return exp(height * static_cast<float>(-1 / kRayleighScaleHeight));
}
[[gnu::always_inline]] inline Lanes aerosolDensity(Lanes height) {
  return exp(height * static_cast<float>(-1 / kAerosolScaleHeight));
}
[[gnu::always_inline]] inline Lanes ozoneDensity(Lanes height) {
  const Lanes d = height - static_cast<float>(kOzonePeak);
  return max(1.0f - max(d, -d) * static_cast<float>(1 / kOzoneHalfDepth), splat(0));
}

/// What a path of `Steps` segments (a multiple of 8) needs at its segments' midpoints to look up sunlight
/// from any direction. Edges lie at length x (k / Steps)^2.
template <int Steps>
struct Path {
  static constexpr int kBlocks = Steps / 8;
  Spectrum t[kBlocks];  ///< distance
  Spectrum radius[kBlocks];
  Spectrum rho2[kBlocks];      ///< tangent length from the ground, squared
  Spectrum shortest[kBlocks];  ///< way up to the top of the air
  Spectrum spanInverse[kBlocks];
  Spectrum horizon[kBlocks];  ///< cosine of the angle to the zenith at which the ground's edge is seen
  Spectrum fade[kBlocks];     ///< one over the cosine's change across the sun's radius there
  Spectrum height[kBlocks];
  std::int32_t row[Steps];  ///< of the transmittance table
  float rowFraction[Steps];
  Spectrum remaining[Steps];  ///< share of light that reaches the segment from the start, and …
  Spectrum weight[Steps];     ///< … remaining x (1 - transmittance of the segment) / extinction
  Spectrum through;           ///< transmittance of the whole path
};

/// What does not depend on the air.
template <int Steps>
[[gnu::always_inline]] inline void placePoints(Path<Steps>& path, const PathStart& start, float length) {
  constexpr IntLanes kLane = {0, 1, 2, 3, 4, 5, 6, 7};
  for (int block = 0; block < path.kBlocks; ++block) {
    const Lanes k = toFloat(kLane + 8 * block);
    const Lanes t = (k * k + k + 0.5f) * (length / static_cast<float>(Steps * Steps));
    const PathPoints points = pointsAt(start, t);
    const Lanes h = points.height, r = points.radius;
    const Lanes rho2 = h * (static_cast<float>(2 * kGroundRadius) + h);
    const Lanes rho = sqrt(rho2);
    const Lanes shortest = max(static_cast<float>(kAirDepth) - h, splat(0));
    store(path.t[block], t);
    store(path.height[block], h);
    store(path.radius[block], r);
    store(path.rho2[block], rho2);
    store(path.shortest[block], shortest);
    store(path.spanInverse[block],
          static_cast<float>(TransmittanceTable::kWidth - 1) /
              (rho + __builtin_sqrtf(static_cast<float>(kHorizonSquared)) - shortest));
    store(path.horizon[block], -rho / r);
    store(path.fade[block], r * static_cast<float>(1 / (kGroundRadius * kSunRadius)));
    const Lanes y = rho * static_cast<float>(TransmittanceTable::kHeight - 1) /
                    __builtin_sqrtf(static_cast<float>(kHorizonSquared));
    const IntLanes row = min(truncate(y), IntLanes{} + (TransmittanceTable::kHeight - 2));
    store(path.row + 8 * block, row);
    store(path.rowFraction + 8 * block, min(y - toFloat(row), splat(1)));
  }
}

/// Transmittance along the path, with the forward peak of scattering counted as let through.
template <int Steps>
[[gnu::always_inline]] inline void followPath(Path<Steps>& path, const Atmosphere& air, float length) {
  const Lanes rayleigh = load(air.rayleigh), aerosol = load(air.smoothedExtinction),
              ozone = load(air.ozoneAbsorption);
  Lanes remaining = splat(1);
  for (int block = 0; block < path.kBlocks; ++block) {
    const Lanes h = load(path.height[block]);
    const Lanes densityR = rayleighDensity(h), densityM = aerosolDensity(h), densityO = ozoneDensity(h);
    for (int i = 0; i < 8; ++i) {
      const int k = 8 * block + i;
      const float dt = length * static_cast<float>(2 * k + 1) / static_cast<float>(Steps * Steps);
      const Lanes extinction = rayleigh * densityR[i] + aerosol * densityM[i] + ozone * densityO[i];
      const Lanes segment = exp(extinction * -dt);
      store(path.remaining[k], remaining);
      store(path.weight[k], remaining * (1.0f - segment) / (extinction + 1e-12f));
      remaining = remaining * segment;
    }
  }
  store(path.through, remaining);
}

/// Places of eight points in the transmittance table and how much of the sun's disc the ground leaves.
struct SunLookup {
  std::int32_t column[8];
  float columnFraction[8];
  float visible[8];
};

/// @param sunCosine cosines of the angle between the sun and the zenith at a block's points.
template <int Steps>
[[gnu::always_inline]] inline void lookUpSun(const Path<Steps>& path, int block, Lanes sunCosine,
                                             SunLookup& out) {
  const Lanes r = load(path.radius[block]), horizon = load(path.horizon[block]);
  // The disc fades in a smooth step while it crosses the ground's edge.
  const Lanes q = clamp((sunCosine - horizon) * load(path.fade[block]), -1.0f, 1.0f);
  const Lanes u = 0.5f + 0.5f * q;
  store(out.visible, u * u * (3.0f - 2.0f * u));
  // Length of the way to the top, towards the sun or along the ground's edge.
  const Lanes along = r * max(sunCosine, horizon);
  const Lanes root =
      sqrt(max(along * along + (static_cast<float>(kHorizonSquared) - load(path.rho2[block])), splat(0)));
  const Lanes x = clamp((root - along - load(path.shortest[block])) * load(path.spanInverse[block]), 0.0f,
                        static_cast<float>(TransmittanceTable::kWidth - 1));
  const IntLanes column = min(truncate(x), IntLanes{} + (TransmittanceTable::kWidth - 2));
  store(out.column, column);
  store(out.columnFraction, x - toFloat(column));
}

[[gnu::always_inline]] inline Lanes mix(Lanes a, Lanes b, float t) { return a + (b - a) * t; }

/// Bilinear look-up among rows of `width` nodes.
[[gnu::always_inline]] inline Lanes bilinear(const Spectrum* nodes, int width, int row, float rowFraction,
                                             int column, float columnFraction) {
  const Spectrum* top = nodes + row * width + column;
  const Spectrum* bottom = top + width;
  return mix(mix(load(top[0]), load(top[1]), columnFraction),
             mix(load(bottom[0]), load(bottom[1]), columnFraction), rowFraction);
}

/// Sunlight at point `i` of a block, of 1 outside the air.
template <int Steps>
[[gnu::always_inline]] inline Lanes sunlight(const Path<Steps>& path, int block, const SunLookup& lookup,
                                             int i, const Spectrum* transmittance) {
  const int k = 8 * block + i;
  return bilinear(transmittance, TransmittanceTable::kWidth, path.row[k], path.rowFraction[k],
                  lookup.column[i], lookup.columnFraction[i]) *
         lookup.visible[i];
}

}  // namespace orv::host
