// The sun's disc beside its integral in double precision, taken about the disc's centre.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "orvrender/sky/SunDisc.h"
#include "sky/sky_map.h"

namespace orv::host {
namespace {

constexpr double kDegree = kPiTest / 180;

const Atmosphere& air() {
  static const Atmosphere clear(2.5, 1, 0.2);
  return clear;
}

/// Radiance of the sun's surface seen under the cosine `mu` through air that lets `through` pass, over the
/// disc's mean outside the air.
Rgb3 radiance(const Spectrum& through, double mu) {
  Rgb3 out;
  for (int i = 0; i < kWavelengths; ++i) {
    const double alpha = -0.023 + 0.292 / wavelength(i);  // Hestroffer & Magnan 1998
    const double light = static_cast<double>(through.v[i]) * std::pow(mu, alpha) * (alpha + 2) / 2;
    out.r += static_cast<double>(kRedWeights.v[i]) * light;
    out.g += static_cast<double>(kGreenWeights.v[i]) * light;
    out.b += static_cast<double>(kBlueWeights.v[i]) * light;
  }
  return {std::max(out.r, 0.0), std::max(out.g, 0.0), std::max(out.b, 0.0)};
}

/// The same at an elevation.
Rgb3 radiance(double elevation, double mu) {
  if (!(elevation > 0) || !(mu > 0)) return {};
  return radiance(sunTransmittance(air(), elevation), mu);
}

/// Light on a plane facing the sun: 1/pi times the integral of radiance(q, phi) q dq dphi, with q dq = mu
/// dmu.
Rgb3 light(double elevation, double radius) {
  constexpr int kCosines = 100, kAngles = 180;
  Rgb3 sum;
  for (int i = 0; i < kCosines; ++i) {
    const double mu = (i + 0.5) / kCosines;
    for (int j = 0; j < kAngles; ++j) {
      const double up = std::sqrt(1 - mu * mu) * std::sin((j + 0.5) / kAngles * kPiTest - kPiTest / 2);
      const Rgb3 value = radiance(elevation + radius * up, mu);
      const double share = 2 * mu / (kCosines * kAngles);
      sum.r += share * value.r;
      sum.g += share * value.g;
      sum.b += share * value.b;
    }
  }
  return sum;
}

/// The disc alone on a black map.
SkyMap discMap(double azimuth, double elevation, double size, std::uint32_t width) {
  SkyMap map{width, width / 2, std::vector<float>(std::size_t{3} * width * (width / 2))};
  SunDisc(air(), elevation, size).addTo(map.rgb.data(), map.width, map.height, azimuth, 1);
  return map;
}

class SunDiscLight : public testing::TestWithParam<std::tuple<double, double>> {};

TEST_P(SunDiscLight, IsThatOfTheIntegralAtEverySizeOfMap) {
  const double elevation = std::get<0>(GetParam()) * kDegree, size = std::get<1>(GetParam());
  const Rgb3 expected = light(elevation, 0.0046524 * size);
  for (const std::uint32_t width : {256u, 1000u, 2048u, 4096u}) {
    const Rgb3 found = discMap(0.3, elevation, size, width).aboveHorizon();
    EXPECT_NEAR(found.r, expected.r, 1e-3 * expected.r) << width;
    EXPECT_NEAR(found.g, expected.g, 1e-3 * expected.g) << width;
    EXPECT_NEAR(found.b, expected.b, 1e-3 * expected.b) << width;
  }
}

INSTANTIATE_TEST_SUITE_P(ElevationsAndSizes, SunDiscLight,
                         testing::Combine(testing::Values(5.0, 45.0, 80.0, 89.0, 89.9, 90.0),
                                          testing::Values(0.1, 1.0, 30.0)));

class SunDiscPixels : public testing::TestWithParam<double> {};

// A disc 8 degrees in radius, sampled 24 x 24 times in every pixel.
TEST_P(SunDiscPixels, HoldTheMeanOfWhatTheyCover) {
  constexpr std::uint32_t kWidth = 256, kHeight = 128;
  constexpr int kSamples = 24;
  const double azimuth = 0.3, elevation = GetParam() * kDegree, radius = 30 * 0.0046524;
  const SkyMap map = discMap(azimuth, elevation, 30, kWidth);
  const double omega = kPiTest * radius * radius;
  const double peak = radiance(std::min(elevation + radius, kPiTest / 2), 1).g / omega;
  double deviation = 0, brightness = 0;
  for (std::uint32_t y = 0; y < kHeight / 2; ++y) {
    std::vector<double> latitudes;
    std::vector<Spectrum> through;
    for (int j = 0; j < kSamples; ++j) {
      const double latitude = (0.5 - (y + (j + 0.5) / kSamples) / kHeight) * kPiTest;
      if (std::abs(latitude - elevation) >= radius) continue;
      latitudes.push_back(latitude);
      through.push_back(sunTransmittance(air(), latitude));
    }
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      double expected = 0;
      for (std::size_t j = 0; j < latitudes.size(); ++j) {
        const double latitude = latitudes[j];
        for (int i = 0; i < kSamples; ++i) {
          const double longitude = ((x + (i + 0.5) / kSamples) / kWidth - 0.5) * 2 * kPiTest;
          const double cosine = std::sin(latitude) * std::sin(elevation) +
                                std::cos(latitude) * std::cos(elevation) * std::cos(longitude - azimuth);
          const double q = std::acos(std::clamp(cosine, -1.0, 1.0)) / radius;
          // The air hardly changes over a quarter of a pixel.
          if (q < 1) expected += radiance(through[j], std::sqrt(1 - q * q)).g / (kSamples * kSamples * omega);
        }
      }
      const double found = map.pixel(x, y).g;
      EXPECT_NEAR(found, expected, 0.05 * peak) << x << ", " << y;
      deviation += std::abs(found - expected) * map.solidAngle(y);
      brightness += expected * map.solidAngle(y);
    }
  }
  EXPECT_LT(deviation, 0.03 * brightness);
}

INSTANTIATE_TEST_SUITE_P(Elevations, SunDiscPixels, testing::Values(5.0, 45.0, 80.0, 89.0, 90.0));

}  // namespace
}  // namespace orv::host
