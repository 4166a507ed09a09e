#include "orvrender/sky/MultipleScatteringTable.h"

#include <algorithm>
#include <cmath>

#include "maps/row_loop.h"
#include "orvrender/sky/path.h"

namespace orv::host {

namespace {

constexpr int kWidth = MultipleScatteringTable::kWidth;
constexpr int kSteps = 24;
constexpr int kPolar = 16;    // directions over the sphere: polar cosines …
constexpr int kAzimuths = 4;  // … times azimuths over half a circle, the other half being its mirror image

/// The sun's directions in the xz plane, one a column.
struct Suns {
  float sine[kWidth], cosine[kWidth];
};

Suns makeSuns() {
  Suns out;
  for (int x = 0; x < kWidth; ++x) {
    const double elevation = kLowestTableSun + kTableSunRange * x / (kWidth - 1);
    out.sine[x] = static_cast<float>(std::sin(elevation));
    out.cosine[x] = static_cast<float>(std::cos(elevation));
  }
  return out;
}

/// A direction from a height, and what light it gathers.
struct Gathering {
  Path<kSteps> path;
  Spectrum weight[kSteps];  // remaining light x scattering of the segment
  float length;
  bool meetsGround;
};

[[gnu::always_inline]] inline void gather(Gathering& out, const Atmosphere& air, double height, double mu) {
  const double r = kGroundRadius + height, rho2 = height * (2 * kGroundRadius + height);
  const double toGround = r * r * mu * mu - rho2;
  out.meetsGround = mu < 0 && toGround >= 0;
  out.length =
      static_cast<float>(out.meetsGround ? -r * mu - std::sqrt(toGround)
                                         : -r * mu + std::sqrt(r * r * mu * mu + kHorizonSquared - rho2));
  placePoints(out.path, {static_cast<float>(height), static_cast<float>(r), static_cast<float>(mu)},
              out.length);
  followPath(out.path, air, out.length);
  const Lanes rayleigh = load(air.rayleigh), aerosol = load(air.smoothedScattering);
  for (int block = 0; block < out.path.kBlocks; ++block) {
    const Lanes densityR = rayleighDensity(load(out.path.height[block]));
    const Lanes densityM = aerosolDensity(load(out.path.height[block]));
    for (int i = 0; i < 8; ++i) {
      const int k = 8 * block + i;
      store(out.weight[k], load(out.path.weight[k]) * (rayleigh * densityR[i] + aerosol * densityM[i]));
    }
  }
}

[[gnu::always_inline]] inline void row(const Atmosphere& air, const Spectrum* transmittance, const Suns& suns,
                                       int y, Spectrum* logarithms) {
  const double share = static_cast<double>(y) / (MultipleScatteringTable::kHeight - 1);
  const double height = std::max(kAirDepth * share * share, 0.001);
  const float radius = static_cast<float>(kGroundRadius + height);

  Path<8> ground;
  placePoints(ground, {0.0f, static_cast<float>(kGroundRadius), 1.0f}, 0.0f);

  Spectrum once[kWidth] = {};  // light scattered once towards the node, for each sun
  Lanes again = splat(0);      // share of the light here that is scattered to the node from elsewhere
  Gathering ray;
  for (int a = 0; a < kPolar; ++a) {
    const double mu = 1 - 2 * (a + 0.5) / kPolar;
    gather(ray, air, height, mu);
    for (int k = 0; k < kSteps; ++k) again += load(ray.weight[k]) * static_cast<float>(kAzimuths);

    for (int x = 0; x < kWidth; ++x) {
      Lanes scattered = splat(0), fromGround = splat(0);
      for (int b = 0; b < kAzimuths; ++b) {
        const double azimuth = kPi * (b + 0.5) / kAzimuths;
        const float c = static_cast<float>(std::sqrt(1 - mu * mu) * std::cos(azimuth)) * suns.cosine[x] +
                        static_cast<float>(mu) * suns.sine[x];
        SunLookup lookup;
        for (int block = 0; block < ray.path.kBlocks; ++block) {
          const Lanes sunCosine =
              (radius * suns.sine[x] + load(ray.path.t[block]) * c) / load(ray.path.radius[block]);
          lookUpSun(ray.path, block, sunCosine, lookup);
          for (int i = 0; i < 8; ++i) {
            if (lookup.visible[i] > 0)
              scattered +=
                  load(ray.weight[8 * block + i]) * sunlight(ray.path, block, lookup, i, transmittance);
          }
        }
        const float groundCosine =
            (radius * suns.sine[x] + ray.length * c) * static_cast<float>(1 / kGroundRadius);
        if (ray.meetsGround && groundCosine > 0) {
          lookUpSun(ground, 0, splat(groundCosine), lookup);
          fromGround += sunlight(ground, 0, lookup, 0, transmittance) * groundCosine;
        }
      }
      scattered = scattered * static_cast<float>(1 / (4 * kPi)) +
                  fromGround * load(ray.path.through) * static_cast<float>(air.groundAlbedo / kPi);
      store(once[x], load(once[x]) + scattered);
    }
  }

  // Each further scattering returns the same share: a geometric series.
  constexpr float kShare = 1.0f / (kPolar * kAzimuths);
  for (int x = 0; x < kWidth; ++x)
    store(logarithms[x], max(load(once[x]) * kShare / (1.0f - again * kShare), splat(1e-30f)));
}

[[gnu::target("avx2")]] void rowAvx2(const Atmosphere& air, const Spectrum* transmittance, const Suns& suns,
                                     int y, Spectrum* logarithms) {
  row(air, transmittance, suns, y, logarithms);
}

void rowAnywhere(const Atmosphere& air, const Spectrum* transmittance, const Suns& suns, int y,
                 Spectrum* logarithms) {
  row(air, transmittance, suns, y, logarithms);
}

}  // namespace

void MultipleScatteringTable::build(const Atmosphere& air, const TransmittanceTable& transmittance) {
  static const Suns suns = makeSuns();
  const auto fill = hasAvx2() ? rowAvx2 : rowAnywhere;
  forEachRow(kHeight, 1, [&](std::uint32_t y) {
    Spectrum* nodes = logarithms_.data() + static_cast<std::size_t>(y) * kWidth;
    fill(air, transmittance.nodes(), suns, static_cast<int>(y), nodes);
    for (int x = 0; x < kWidth; ++x)
      for (float& value : nodes[x].v) value = std::log(value);
  });
}

}  // namespace orv::host
