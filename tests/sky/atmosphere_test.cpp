#include <gtest/gtest.h>

#include <cmath>

#include "orvrender/sky/Atmosphere.h"

namespace orv::host {
namespace {

template <typename Error>
double largest(double low, double high, const Error& error) {
  double out = 0;
  for (int i = 0; i <= 100000; ++i) {
    const float x = static_cast<float>(low + (high - low) * i / 100000);
    out = std::max(out, error(x));
  }
  return out;
}

TEST(SkyLanes, ExpStaysWithinItsBound) {
  EXPECT_LT(largest(-86, 87,
                    [](float x) {
                      Spectrum out;
                      store(out, exp(splat(x)));
                      const double exact = std::exp(static_cast<double>(x));
                      return std::abs(static_cast<double>(out.v[5]) - exact) / exact;
                    }),
            2e-7);
}

TEST(SkyLanes, ExpNeverLeavesTheFiniteNumbers) {
  Spectrum out;
  store(out, exp(Lanes{-1e30f, 1e30f, -INFINITY, INFINITY, -87.5f, 88.5f, 0, -0.0f}));
  for (const float x : out.v) EXPECT_TRUE(std::isfinite(x) && x > 0) << x;
  EXPECT_EQ(out.v[6], 1.0f);
}

TEST(SkyLanes, ArcsinStaysWithinItsBound) {
  EXPECT_LT(largest(-1, 1,
                    [](float x) {
                      Spectrum out;
                      store(out, arcsin(splat(x)));
                      return std::abs(static_cast<double>(out.v[3]) - std::asin(static_cast<double>(x)));
                    }),
            3e-7);
}

template <typename Phase>
double overTheSphere(const Phase& phase) {
  double sum = 0;
  constexpr int kSteps = 200000;
  for (int i = 0; i < kSteps; ++i)
    sum += static_cast<double>(phase(static_cast<float>(-1 + (i + 0.5) * 2 / kSteps)));
  return sum * 2 / kSteps * 2 * kPi;
}

TEST(Atmosphere, PhaseFunctionsIntegrateToOneOverTheSphere) {
  EXPECT_NEAR(overTheSphere([](float c) { return rayleighPhase(c); }), 1, 1e-5);
  EXPECT_NEAR(overTheSphere([](float c) { return aerosolPhase(c); }), 1, 1e-5);
}

TEST(Atmosphere, TheAerosolScattersForwardsByItsAsymmetry) {
  // (1 + g^2 - 2 g c)^1.5 falls from 1.8^3 to 0.2^3 between straight back and straight ahead.
  EXPECT_NEAR(static_cast<double>(aerosolPhase(1.0f) / aerosolPhase(-1.0f)), 729, 0.01);
}

TEST(Atmosphere, SunlightOutsideTheAirHasTheSolarConstantsIlluminance) {
  const Spectrum one{{1, 1, 1, 1, 1, 1, 1, 1}};
  const Color3 rgb = toRgb(one);
  EXPECT_NEAR(rgb.r, 29.155, 1e-3);
  EXPECT_NEAR(rgb.g, 26.074, 1e-3);
  EXPECT_NEAR(rgb.b, 25.015, 1e-3);
  // 133.3 kilolux, 5000 cd/m2 being 1.
  EXPECT_NEAR(5 * (0.2126 * rgb.r + 0.7152 * rgb.g + 0.0722 * rgb.b), 133.3, 0.1);
}

TEST(Atmosphere, MoleculesHaveTheirPublishedOpticalDepth) {
  // The formula of Hansen & Travis 1974, by hand: 0.008569 x 10.928 x 1.0388 and 0.008569 x 39.063 x 1.0757.
  EXPECT_NEAR(rayleighDepth(0.55), 0.09728, 1e-5);
  EXPECT_NEAR(rayleighDepth(0.40), 0.36007, 4e-5);
}

// Straight up, the depths of the three components add: molecules by their formula, aerosol by Angstrom's law,
// ozone as 300 Dobson units times its cross section.
TEST(Atmosphere, AtTheZenithTheComponentsDepthsAdd) {
  const Atmosphere air(2.5, 1, 0.2);
  const Spectrum through = sunTransmittance(air, kPi / 2);
  const double ozone = 300 * 2.687e20 * 4.59e-25;  // 0.60 um
  const double lambda = 0.60, inverse = 1 / (lambda * lambda);
  const double molecules =
      0.008569 * inverse * inverse * (1 + 0.0113 * inverse + 0.00013 * inverse * inverse);
  const double aerosol = (0.04608366 * 2.5 - 0.04586026) * std::pow(lambda, -1.3);
  EXPECT_NEAR(static_cast<double>(through.v[5]), std::exp(-(molecules + aerosol + ozone)), 5e-4);
}

TEST(Atmosphere, TurbidityOneHasNextToNoAerosol) {
  EXPECT_NEAR(aerosolDepth(1, 0.55), 0, 1e-3);
  EXPECT_EQ(aerosolDepth(0.5, 0.55), 0);
}

TEST(Atmosphere, NoSunlightComesFromBelowTheHorizon) {
  const Atmosphere air(2.5, 1, 0.2);
  for (const double elevation : {0.0, -0.001, -1.5})
    for (const float x : sunTransmittance(air, elevation).v) EXPECT_EQ(x, 0.0f);
  // A sun that has not quite set still gives some.
  EXPECT_GT(sunIrradiance(air, -0.002).v[7], 0.0f);
  EXPECT_EQ(sunIrradiance(air, -0.005).v[7], 0.0f);
}

}  // namespace
}  // namespace orv::host
