#include "orvrender/sky/SkyView.h"

#include <algorithm>
#include <cmath>

#include "maps/row_loop.h"
#include "orvrender/sky/path.h"

namespace orv::host {

namespace {

constexpr int kWidth = SkyView::kWidth;
constexpr int kHeight = SkyView::kHeight;
constexpr int kSteps = 40;

struct Sun {
  double sine, cosine;
};

double elevationOf(int y) {
  const double v = static_cast<double>(y) / (kHeight - 1);
  return 0.5 * kPi * v * v;
}

struct SpectralNode {
  Spectrum air, aerosol;
};

/// Fills a row of the view and its share of the light on a horizontal plane.
[[gnu::always_inline]] inline void row(const Atmosphere& air, const Spectrum* transmittance,
                                       const Spectrum* multiple, const Sun& sun, int y, SpectralNode* nodes,
                                       Spectrum& irradiance) {
  constexpr double kRadius = kGroundRadius + kObserverHeight;
  constexpr double kRho2 = kObserverHeight * (2 * kGroundRadius + kObserverHeight);
  const double elevation = elevationOf(y), mu = std::sin(elevation);
  const double length = std::sqrt(kRadius * kRadius * mu * mu + kHorizonSquared - kRho2) - kRadius * mu;

  Path<kSteps> path;
  placePoints(path,
              {static_cast<float>(kObserverHeight), static_cast<float>(kRadius), static_cast<float>(mu)},
              static_cast<float>(length));
  followPath(path, air, static_cast<float>(length));

  // What a segment sends on: sunlight by the air and by the aerosol, and light from all sides.
  Spectrum byAir[kSteps], byAerosol[kSteps], fromAllSides[kSteps];
  std::int32_t multipleRow[kSteps];
  float multipleFraction[kSteps];
  for (int block = 0; block < path.kBlocks; ++block) {
    const Lanes h = load(path.height[block]);
    const Lanes densityR = rayleighDensity(h), densityM = aerosolDensity(h);
    for (int i = 0; i < 8; ++i) {
      const int k = 8 * block + i;
      const Lanes weight = load(path.weight[k]), scattering = load(air.rayleigh) * densityR[i];
      store(byAir[k], weight * scattering);
      store(byAerosol[k], weight * load(air.aerosolScattering) * densityM[i]);
      store(fromAllSides[k], weight * (scattering + load(air.smoothedScattering) * densityM[i]));
    }
    const Lanes v = sqrt(h * static_cast<float>(1 / kAirDepth)) *
                    static_cast<float>(MultipleScatteringTable::kHeight - 1);
    const IntLanes nodeRow = min(truncate(v), IntLanes{} + (MultipleScatteringTable::kHeight - 2));
    store(multipleRow + 8 * block, nodeRow);
    store(multipleFraction + 8 * block, min(v - toFloat(nodeRow), splat(1)));
  }

  // Cosine-weighted solid angle of the row's cells, whose edges lie midway between the nodes.
  const double low = y == 0 ? 0 : 0.5 * (elevationOf(y - 1) + elevation);
  const double high = y == kHeight - 1 ? 0.5 * kPi : 0.5 * (elevation + elevationOf(y + 1));
  const double sinLow = std::sin(low), sinHigh = std::sin(high);
  const double cell = 0.5 * (sinHigh * sinHigh - sinLow * sinLow) * 2 * kPi / (kWidth - 1);

  Lanes onPlane = splat(0);
  for (int x = 0; x < kWidth; ++x) {
    const double azimuth = kPi * x / (kWidth - 1);
    const float c = static_cast<float>(
        std::clamp(std::cos(elevation) * sun.cosine * std::cos(azimuth) + mu * sun.sine, -1.0, 1.0));
    const float phase = rayleighPhase(c);
    Lanes airLight = splat(0), aerosolLight = splat(0);
    for (int block = 0; block < path.kBlocks; ++block) {
      const Lanes sunCosine =
          clamp((static_cast<float>(kRadius * sun.sine) + load(path.t[block]) * c) / load(path.radius[block]),
                -1.0f, 1.0f);
      SunLookup lookup;
      lookUpSun(path, block, sunCosine, lookup);
      constexpr float kScale = static_cast<float>((MultipleScatteringTable::kWidth - 1) / kTableSunRange);
      const Lanes u = clamp((arcsin(sunCosine) - static_cast<float>(kLowestTableSun)) * kScale, 0.0f,
                            static_cast<float>(MultipleScatteringTable::kWidth - 1));
      const IntLanes column = min(truncate(u), IntLanes{} + (MultipleScatteringTable::kWidth - 2));
      const Lanes fraction = u - toFloat(column);
      for (int i = 0; i < 8; ++i) {
        const int k = 8 * block + i;
        const Lanes all = exp(bilinear(multiple, MultipleScatteringTable::kWidth, multipleRow[k],
                                       multipleFraction[k], column[i], fraction[i]));
        airLight += load(fromAllSides[k]) * all;
        if (lookup.visible[i] > 0) {
          const Lanes light = sunlight(path, block, lookup, i, transmittance);
          airLight += load(byAir[k]) * light * phase;
          aerosolLight += load(byAerosol[k]) * light;
        }
      }
    }
    store(nodes[x].air, airLight);
    store(nodes[x].aerosol, aerosolLight);
    const double weight = x == 0 || x == kWidth - 1 ? 0.5 * cell : cell;
    onPlane += (airLight + aerosolLight * aerosolPhase(c)) * static_cast<float>(weight);
  }
  store(irradiance, onPlane);
}

[[gnu::target("avx2")]] void rowAvx2(const Atmosphere& air, const Spectrum* transmittance,
                                     const Spectrum* multiple, const Sun& sun, int y, SpectralNode* nodes,
                                     Spectrum& irradiance) {
  row(air, transmittance, multiple, sun, y, nodes, irradiance);
}

void rowAnywhere(const Atmosphere& air, const Spectrum* transmittance, const Spectrum* multiple,
                 const Sun& sun, int y, SpectralNode* nodes, Spectrum& irradiance) {
  row(air, transmittance, multiple, sun, y, nodes, irradiance);
}

void setColor(float (&out)[4], const Spectrum& spectrum) {
  const Color3 rgb = toRgb(spectrum);
  out[0] = static_cast<float>(rgb.r);
  out[1] = static_cast<float>(rgb.g);
  out[2] = static_cast<float>(rgb.b);
  out[3] = 0;
}

}  // namespace

void SkyView::build(const Atmosphere& air, const TransmittanceTable& transmittance,
                    const MultipleScatteringTable& multiple, double sunElevation) {
  const Sun sun{std::sin(sunElevation), std::cos(sunElevation)};
  const auto fill = hasAvx2() ? rowAvx2 : rowAnywhere;
  std::vector<Spectrum> onPlane(kHeight);
  forEachRow(kHeight, 1, [&](std::uint32_t row) {
    const int y = static_cast<int>(row);
    SpectralNode spectra[kWidth];
    fill(air, transmittance.nodes(), multiple.logarithms(), sun, y, spectra, onPlane[row]);
    SkyNode* nodes = nodes_.data() + static_cast<std::size_t>(y) * kWidth;
    for (int x = 0; x < kWidth; ++x) {
      setColor(nodes[x].air, spectra[x].air);
      setColor(nodes[x].aerosol, spectra[x].aerosol);
    }
  });

  skyIrradiance_ = {};
  for (const Spectrum& row : onPlane) {
    const Color3 rgb = toRgb(row);
    skyIrradiance_.r += rgb.r;
    skyIrradiance_.g += rgb.g;
    skyIrradiance_.b += rgb.b;
  }
  sunIrradiance_ = toRgb(host::sunIrradiance(air, sunElevation));
}

}  // namespace orv::host
