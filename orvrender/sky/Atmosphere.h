#pragma once

#include "orvrender/sky/Lanes.h"

namespace orv::host {

// Lengths are kilometres, wavelengths micrometres. Radiances are for a solar irradiance of 1 at each
// wavelength until `toRgb` brings in the sun's spectrum.

inline constexpr int kWavelengths = 8;
inline constexpr double kPi = 3.14159265358979323846;

inline constexpr double kGroundRadius = 6371;
inline constexpr double kAirDepth = 100;  ///< the air ends here
inline constexpr double kTopRadius = kGroundRadius + kAirDepth;
/// Tangent length from the ground to the top of the air, squared.
inline constexpr double kHorizonSquared = kTopRadius * kTopRadius - kGroundRadius * kGroundRadius;
inline constexpr double kObserverHeight = 0.0005;

inline constexpr double kRayleighScaleHeight = 8;
inline constexpr double kAerosolScaleHeight = 1.2;  ///< Bruneton & Neyret 2008
inline constexpr double kOzonePeak = 25;            ///< a tent about this height (Bruneton 2017)
inline constexpr double kOzoneHalfDepth = 15;

/// Angular radius of the sun, radians: 959.63 arc seconds (Astronomical Almanac).
inline constexpr double kSunRadius = 0.0046524;

/// The wavelength of a lane.
constexpr double wavelength(int lane) { return 0.40 + 0.04 * lane; }

/// Optical depth of the whole air's molecules, straight up (Hansen & Travis 1974).
double rayleighDepth(double lambda);
/// Optical depth of the aerosol, straight up: Angstrom's law with the exponent 1.3 and the turbidity of
/// Preetham et al. 1999.
double aerosolDepth(double turbidity, double lambda);

/// Coefficients per kilometre at the height where each component is densest.
struct Atmosphere {
  Atmosphere(double turbidity, double ozone, double groundAlbedo);

  double turbidity;
  double groundAlbedo;
  Spectrum rayleigh;           ///< scattering
  Spectrum aerosolScattering;  ///< as it is
  Spectrum aerosolExtinction;
  /// The same without the forward peak of the phase function, which counts as light that was not scattered
  /// (delta scaling, Nakajima & Tanaka 1988).
  Spectrum smoothedScattering;
  Spectrum smoothedExtinction;
  Spectrum ozoneAbsorption;
};

/// Phase function of air molecules (Chandrasekhar 1960, depolarisation 0.0279), per steradian, for a float or
/// for lanes. @param c cosine of the scattering angle.
template <typename T>
[[gnu::always_inline]] inline T rayleighPhase(T c) {
  constexpr double y = 0.01415, k = 3 / (16 * kPi * (1 + 2 * y));
  return static_cast<float>(k * (1 + 3 * y)) + static_cast<float>(k * (1 - y)) * (c * c);
}

inline constexpr double kAerosolAsymmetry = 0.8;

/// Phase function of the aerosol (Cornette & Shanks 1992), per steradian: factor (1 + c^2) / base^1.5 with
/// the base constant + slope c. @param c cosine of the scattering angle.
struct AerosolPhase {
  static constexpr double g = kAerosolAsymmetry;
  static constexpr double factor = 3 / (8 * kPi) * (1 - g * g) / (2 + g * g);
  static constexpr double constant = 1 + g * g, slope = -2 * g;
  static constexpr double forward = (1 - g) * (1 - g);  ///< base at c = 1
};
/// The same without the factor, from a cosine and its base; for a float or for lanes.
[[gnu::always_inline]] inline float aerosolPhase(float c, float base) {
  return (1.0f + c * c) / (base * __builtin_sqrtf(base));
}
[[gnu::always_inline]] inline Lanes aerosolPhase(Lanes c, Lanes base) {
  return (1.0f + c * c) / (base * sqrt(base));
}
template <typename T>
[[gnu::always_inline]] inline T aerosolPhase(T c) {
  const T base = static_cast<float>(AerosolPhase::constant) + static_cast<float>(AerosolPhase::slope) * c;
  return static_cast<float>(AerosolPhase::factor) * aerosolPhase(c, base);
}

struct Color3 {
  double r = 0, g = 0, b = 0;
};

/// Weights that turn a spectrum into linear sRGB: solar spectrum (ASTM G173, outside the air), CIE 1931
/// observer (fit of Wyman, Sloan & Shirley 2013), 683 lm/W, 1.0 = 5000 cd/m2 and the sRGB primaries.
extern const Spectrum kRedWeights, kGreenWeights, kBlueWeights;

/// Linear sRGB of a spectrum; may be negative outside the gamut.
Color3 toRgb(const Spectrum& spectrum);

/// What is left of sunlight at the observer when it comes from `elevation` (radians): with the true
/// coefficients, 0 below the horizon.
Spectrum sunTransmittance(const Atmosphere& air, double elevation);

/// Spectrum of the direct light on a plane facing the sun: the mean over the disc's part above the horizon.
Spectrum sunIrradiance(const Atmosphere& air, double elevation);

}  // namespace orv::host
