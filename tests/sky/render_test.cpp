// Properties of whole renderings: symmetry, scaling, ranges, threads, caching.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "orvrender/sky/SkyModel.h"
#include "sky/sky_map.h"

namespace orv::host {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

void expectSame(const Rgb3& a, const Rgb3& b, double relative) {
  EXPECT_NEAR(a.r, b.r, relative * b.r + 1e-9);
  EXPECT_NEAR(a.g, b.g, relative * b.g + 1e-9);
  EXPECT_NEAR(a.b, b.b, relative * b.b + 1e-9);
}

TEST(SkyRender, AQuarterTurnOfTheSunTurnsTheMap) {
  ReferenceSky sky;
  setSun(sky, 10, 25);
  const SkyMap first = render(sky, 128, 64);
  setSun(sky, 100, 25);
  const SkyMap second = render(sky, 128, 64);
  for (std::uint32_t y = 0; y < 64; ++y)
    for (std::uint32_t x = 0; x < 128; ++x)
      expectSame(second.pixel((x + 32) % 128, y), first.pixel(x, y), 1e-4);
}

TEST(SkyRender, ASunAheadLightsBothSidesAlike) {
  ReferenceSky sky;
  setSun(sky, 0, 12);
  const SkyMap map = render(sky, 126, 63);
  for (std::uint32_t y = 0; y < 63; ++y)
    for (std::uint32_t x = 0; x < 63; ++x) expectSame(map.pixel(125 - x, y), map.pixel(x, y), 1e-4);
}

TEST(SkyRender, TheSkyIsSmoothRightBesideTheSun) {
  ReferenceSky sky;
  sky.sunIntensity = 0;
  constexpr std::uint32_t kWidth = 8192, kHeight = 64, kRow = 30;
  setSun(sky, 0, (0.5 - (kRow + 0.5) / kHeight) * 180);
  const SkyMap map = render(sky, kWidth, kHeight);
  // Columns of a twentieth of a degree within the first azimuths between which the view is interpolated. The
  // lobe of the aerosol is nine degrees wide: over five of them its fourth difference is below 1e-7 of it,
  // and that of relative errors of e at most 16 e.
  for (std::uint32_t x = kWidth / 2 + 2; x < kWidth / 2 + 58; ++x) {
    const double fourth = map.pixel(x - 2, kRow).r - 4 * map.pixel(x - 1, kRow).r + 6 * map.pixel(x, kRow).r -
                          4 * map.pixel(x + 1, kRow).r + map.pixel(x + 2, kRow).r;
    EXPECT_LT(std::abs(fourth / map.pixel(x, kRow).r), 16 * 5e-7) << x;
  }
}

TEST(SkyRender, WithoutSunlightTheMapScalesWithTheSky) {
  ReferenceSky sky;
  setSun(sky, 30, 20);
  sky.sunIntensity = 0;
  const SkyMap once = render(sky, 64, 32);
  sky.skyIntensity = 2.5f;
  const SkyMap scaled = render(sky, 64, 32);
  for (std::size_t i = 0; i < once.rgb.size(); ++i)
    EXPECT_NEAR(scaled.rgb[i], 2.5f * once.rgb[i], 1e-5f * scaled.rgb[i]);
}

TEST(SkyRender, TheSkyDoesNotScaleWithTheSunsDisc) {
  ReferenceSky sky;
  setSun(sky, 0, 30);
  const SkyMap once = render(sky, 64, 32);
  sky.sunIntensity = 3;
  const SkyMap scaled = render(sky, 64, 32);
  EXPECT_EQ(scaled.pixel(5, 10).g, once.pixel(5, 10).g);
  EXPECT_GT(scaled.pixel(5, 30).g, once.pixel(5, 30).g) << "the ground is sunlit";
}

// A white Lambert ground under an even light returns its irradiance over pi; straight down the 10 metres of
// air between take next to nothing.
TEST(SkyRender, TheGroundReflectsWhatFallsOnIt) {
  ReferenceSky sky;
  setSun(sky, 0, 40);
  sky.groundAlbedo = 1;
  const Rgb3 sun = discLight(sky, 512, 256);
  sky.sunIntensity = 0;
  const Rgb3 light = render(sky, 512, 256).onPlane();
  sky.sunIntensity = 1;
  const Rgb3 ground = render(sky, 512, 256).rowMean(255);
  const double sine = std::sin(40 * kPiTest / 180);
  expectSame(ground,
             {(light.r + sine * sun.r) / kPiTest, (light.g + sine * sun.g) / kPiTest,
              (light.b + sine * sun.b) / kPiTest},
             0.01);
}

TEST(SkyRender, AtTheHorizonTheGroundMeetsTheSky) {
  ReferenceSky sky;
  setSun(sky, 0, 40);
  sky.groundAlbedo = 0;
  const SkyMap map = render(sky, 64, 8192);
  for (const std::uint32_t x : {0u, 16u, 40u}) expectSame(map.pixel(x, 4096), map.pixel(x, 4095), 0.15);
}

TEST(SkyRender, EveryValueIsFiniteAndNotNegative) {
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {33, 17}, {8, 3}};
  ReferenceSky sky;
  for (int elevation = -90; elevation <= 90; elevation += 9) {
    setSun(sky, 170, elevation);
    for (const auto& [width, height] : sizes)
      for (const float x : render(sky, width, height).rgb)
        ASSERT_TRUE(std::isfinite(x) && x >= 0) << x << " at " << elevation << ", " << width << 'x' << height;
  }
}

TEST(SkyRender, ExtremeSettingsStayFinite) {
  const float extremes[] = {-kInfinity, -1e30f, 0, 1e30f, kInfinity, kNan};
  for (const float x : extremes) {
    ReferenceSky sky;
    sky.skyIntensity = sky.sunIntensity = sky.sunSize = x;
    sky.turbidity = sky.ozone = sky.groundAlbedo = x;
    sky.hours = sky.timeZone = sky.latitude = sky.longitude = sky.northOffset = x;
    sky.dayOfYear = x > 0 ? 0xFFFFFFFFu : 0;
    for (const float value : render(sky, 24, 12).rgb)
      ASSERT_TRUE(std::isfinite(value) && value >= 0) << value << " with settings of " << x;
  }
}

TEST(SkyRender, ALargeSunAtTheZenithIsFiniteAndFillsThePole) {
  ReferenceSky sky;
  setSun(sky, 0, 90);
  sky.sunSize = 30;
  const SkyMap map = render(sky, 64, 32);
  for (const float x : map.rgb) ASSERT_TRUE(std::isfinite(x) && x >= 0);
  for (std::uint32_t x = 0; x < 64; ++x) EXPECT_GT(map.pixel(x, 0).g, 100);
}

TEST(SkyRender, SettingsAreHeldToTheirRanges) {
  ReferenceSky beyond, at;
  for (ReferenceSky* sky : {&beyond, &at}) setSun(*sky, 0, 30);
  beyond.turbidity = 50, at.turbidity = 10;
  beyond.ozone = -1, at.ozone = 0;
  beyond.groundAlbedo = 7, at.groundAlbedo = 1;
  beyond.sunSize = 0, at.sunSize = 0.1f;
  EXPECT_EQ(render(beyond, 32, 16).rgb, render(at, 32, 16).rgb);
}

TEST(SkyRender, ASettingThatIsNotANumberIsTheDefault) {
  ReferenceSky broken, plain;
  broken.turbidity = broken.skyIntensity = broken.hours = kNan;
  broken.latitude = kInfinity;
  EXPECT_EQ(render(broken, 32, 16).rgb, render(plain, 32, 16).rgb);
}

TEST(SkyRender, WithoutGivenSettingsTheDefaultsHold) {
  ReferenceSky touched, plain;
  touched.turbidity = 8;
  touched.hours = 2;
  std::vector<float> a(3 * 32 * 16), b(a);
  touched.render(nullptr, a.data(), 32, 16);
  plain.render(nullptr, b.data(), 32, 16);
  EXPECT_EQ(a, b);
}

TEST(SkyRender, TheDescriptionIsNotLookedAt) {
  ReferenceSky sky;
  std::vector<float> a(3 * 8 * 4), b(a);
  sky.render(nullptr, a.data(), 8, 4);
  sky.render(reinterpret_cast<const void*>(std::uintptr_t{1}), b.data(), 8, 4);
  EXPECT_EQ(a, b);
}

TEST(SkyRender, AMapOfNoSizeIsLeftAlone) {
  ReferenceSky sky;
  float untouched = 7;
  sky.render(nullptr, &untouched, 0, 5);
  sky.render(nullptr, &untouched, 5, 0);
  EXPECT_EQ(untouched, 7.0f);
}

TEST(SkyRender, BitsDoNotDependOnTheNumberOfThreads) {
  std::vector<std::vector<float>> maps;
  for (const std::size_t threads : {1u, 2u, 7u}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    ReferenceSky sky;
    setSun(sky, 33, 7);
    sky.sunSize = 5;
    maps.push_back(render(sky, 250, 125).rgb);
  }
  EXPECT_EQ(std::memcmp(maps[0].data(), maps[1].data(), maps[0].size() * sizeof(float)), 0);
  EXPECT_EQ(std::memcmp(maps[0].data(), maps[2].data(), maps[0].size() * sizeof(float)), 0);
}

TEST(SkyTables, AreBuiltOncePerSetting) {
  ReferenceSky sky;
  setSun(sky, 0, 30);
  render(sky, 8, 4);
  EXPECT_EQ(sky.model()->airBuilds(), 1u);
  EXPECT_EQ(sky.model()->viewBuilds(), 1u);

  // Nothing that the tables hold.
  setSun(sky, 90, 30);
  sky.skyIntensity = 2;
  sky.sunIntensity = 0.5f;
  sky.sunSize = 3;
  render(sky, 16, 8);
  EXPECT_EQ(sky.model()->airBuilds(), 1u);

  setSun(sky, 90, 31);
  const std::uint32_t views = sky.model()->viewBuilds();
  render(sky, 16, 8);
  EXPECT_EQ(sky.model()->airBuilds(), 1u);
  EXPECT_EQ(sky.model()->viewBuilds(), views + 1);

  sky.turbidity = 4;
  render(sky, 16, 8);
  sky.ozone = 2;
  render(sky, 16, 8);
  sky.groundAlbedo = 0.5f;
  render(sky, 16, 8);
  EXPECT_EQ(sky.model()->airBuilds(), 4u);
  EXPECT_EQ(sky.model()->viewBuilds(), views + 4);
}

TEST(SkyTables, GoingBackToASettingGivesTheSameMap) {
  ReferenceSky sky;
  setSun(sky, 0, 30);
  const SkyMap first = render(sky, 32, 16);
  sky.turbidity = 6;
  setSun(sky, 0, 3);
  render(sky, 32, 16);
  sky.turbidity = 2.5f;
  setSun(sky, 0, 30);
  EXPECT_EQ(render(sky, 32, 16).rgb, first.rgb);
}

}  // namespace
}  // namespace orv::host
