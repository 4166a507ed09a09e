#include "orvrender/sky/Atmosphere.h"

#include <algorithm>
#include <cmath>

namespace orv::host {

namespace {

constexpr double kSingleScatteringAlbedo = 0.92;  // continental aerosol
constexpr double kForwardPeak = 0.3;              // share of the aerosol's scattering that goes on ahead

// Absorption cross sections of ozone, 1e-25 m2 at 233 K, averaged over 20 nm either side of the wavelengths
// (Serdyuchenko et al. 2014).
constexpr double kOzoneCrossSections[kWavelengths] = {0.0141, 0.137, 0.650, 1.99, 3.86, 4.59, 2.97, 1.38};
// 300 Dobson units of molecules a square metre, spread over the tent: molecules a cubic metre at its peak.
constexpr double kOzonePeakDensity = 300 * 2.687e20 / 15000;

}  // namespace

const Spectrum kRedWeights{
    {0.35004f, 1.29521f, -3.26744f, -7.25504f, 4.93068f, 20.24919f, 11.35508f, 1.49746f}};
const Spectrum kGreenWeights{
    {-0.30577f, -1.49967f, 2.56701f, 11.69931f, 11.91904f, 2.55382f, -0.78326f, -0.07668f}};
const Spectrum kBlueWeights{
    {2.29978f, 14.98910f, 10.03322f, 0.08180f, -1.50465f, -0.73024f, -0.13276f, -0.02085f}};

bool hasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

double rayleighDepth(double lambda) {
  const double inverse = 1 / (lambda * lambda);
  return 0.008569 * inverse * inverse * (1 + 0.0113 * inverse + 0.00013 * inverse * inverse);
}

double aerosolDepth(double turbidity, double lambda) {
  return std::max(0.0, 0.04608366 * turbidity - 0.04586026) * std::pow(lambda, -1.3);
}

Atmosphere::Atmosphere(double turbidityGiven, double ozone, double groundAlbedoGiven)
    : turbidity(turbidityGiven), groundAlbedo(groundAlbedoGiven) {
  for (int i = 0; i < kWavelengths; ++i) {
    const double lambda = wavelength(i);
    const double extinction = aerosolDepth(turbidity, lambda) / kAerosolScaleHeight;
    const double scattering = kSingleScatteringAlbedo * extinction;
    rayleigh.v[i] = static_cast<float>(rayleighDepth(lambda) / kRayleighScaleHeight);
    aerosolExtinction.v[i] = static_cast<float>(extinction);
    aerosolScattering.v[i] = static_cast<float>(scattering);
    smoothedScattering.v[i] = static_cast<float>((1 - kForwardPeak) * scattering);
    smoothedExtinction.v[i] = static_cast<float>(extinction - kForwardPeak * scattering);
    const double perMetre = ozone * kOzonePeakDensity * kOzoneCrossSections[i] * 1e-25;
    ozoneAbsorption.v[i] = static_cast<float>(1000 * perMetre);
  }
}

Color3 toRgb(const Spectrum& spectrum) {
  Color3 out;
  for (int i = 0; i < kWavelengths; ++i) {
    out.r += static_cast<double>(kRedWeights.v[i]) * spectrum.v[i];
    out.g += static_cast<double>(kGreenWeights.v[i]) * spectrum.v[i];
    out.b += static_cast<double>(kBlueWeights.v[i]) * spectrum.v[i];
  }
  return out;
}

Spectrum sunTransmittance(const Atmosphere& air, double elevation) {
  Spectrum out{};
  if (!(elevation > 0)) return out;
  const double r0 = kGroundRadius + kObserverHeight, mu = std::sin(elevation);
  const double below = kObserverHeight * (2 * kGroundRadius + kObserverHeight);
  const double length = std::sqrt(r0 * r0 * mu * mu + kHorizonSquared - below) - r0 * mu;

  // Each component's path, in kilometres at its greatest density; segments are shorter near the ground.
  constexpr int kSteps = 80;
  double rayleigh = 0, aerosol = 0, ozone = 0;
  for (int k = 0; k < kSteps; ++k) {
    const double t0 = length * k * k / (kSteps * kSteps), t1 = length * (k + 1) * (k + 1) / (kSteps * kSteps);
    const double t = 0.5 * (t0 + t1), dt = t1 - t0;
    const double h = std::sqrt(r0 * r0 + t * (t + 2 * r0 * mu)) - kGroundRadius;
    rayleigh += dt * std::exp(-h / kRayleighScaleHeight);
    aerosol += dt * std::exp(-h / kAerosolScaleHeight);
    ozone += dt * std::max(0.0, 1 - std::abs(h - kOzonePeak) / kOzoneHalfDepth);
  }
  for (int i = 0; i < kWavelengths; ++i) {
    const double depth = rayleigh * static_cast<double>(air.rayleigh.v[i]) +
                         aerosol * static_cast<double>(air.aerosolExtinction.v[i]) +
                         ozone * static_cast<double>(air.ozoneAbsorption.v[i]);
    out.v[i] = static_cast<float>(std::exp(-depth));
  }
  return out;
}

Spectrum sunIrradiance(const Atmosphere& air, double elevation) {
  // Horizontal strips of the disc, weighted by their length.
  constexpr int kStrips = 16;
  double sums[kWavelengths] = {}, weights = 0;
  for (int k = 0; k < kStrips; ++k) {
    const double x = -1 + (k + 0.5) * 2 / kStrips, weight = std::sqrt(1 - x * x);
    const Spectrum strip = sunTransmittance(air, elevation + kSunRadius * x);
    for (int i = 0; i < kWavelengths; ++i) sums[i] += weight * static_cast<double>(strip.v[i]);
    weights += weight;
  }
  Spectrum out;
  for (int i = 0; i < kWavelengths; ++i) out.v[i] = static_cast<float>(sums[i] / weights);
  return out;
}

}  // namespace orv::host
