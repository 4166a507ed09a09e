#include "scene/light_color.h"

#include <gmock/gmock.h>

#include <cmath>

#include "scene/reduce_map.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

struct Chromaticity {
  double x, y;
};

/// The chromaticity of a linear Rec. 709 colour: the primaries and the white of the standard.
Chromaticity chromaticityOf(const hdri::Rgb& color) {
  const double r = color.r, g = color.g, b = color.b;
  const double X = 0.4123907993 * r + 0.3575843394 * g + 0.1804807884 * b;
  const double Y = 0.2126390059 * r + 0.7151686788 * g + 0.0721923154 * b;
  const double Z = 0.0193308187 * r + 0.1191947798 * g + 0.9505321522 * b;
  return {X / (X + Y + Z), Y / (X + Y + Z)};
}

TEST(LightColor, IsThatOfTheStandardIlluminants) {
  // Chromaticities of CIE 15: A is a black body, the others are daylight.
  struct {
    double kelvin;
    Chromaticity standard;
  } const illuminants[] = {{2856, {0.44757, 0.40745}},
                           {5003, {0.34567, 0.35850}},
                           {5503, {0.33242, 0.34743}},
                           {6504, {0.31271, 0.32902}},
                           {7504, {0.29902, 0.31485}}};
  for (const auto& [kelvin, standard] : illuminants) {
    const Chromaticity found = chromaticityOf(lightColor(kelvin));
    EXPECT_NEAR(found.x, standard.x, 4e-4) << kelvin;
    EXPECT_NEAR(found.y, standard.y, 4e-4) << kelvin;
  }
}

TEST(LightColor, IsThatOfBlackBodiesBelowFourThousandKelvin) {
  // Planck's law through the CIE 1931 observer (Wyszecki & Stiles, Color Science, table of the locus).
  struct {
    double kelvin;
    Chromaticity locus;
  } const table[] = {{2000, {0.5267, 0.4133}}, {3000, {0.4369, 0.4041}}, {4000, {0.3804, 0.3767}}};
  for (const auto& [kelvin, locus] : table) {
    const Chromaticity found = chromaticityOf(lightColor(kelvin));
    EXPECT_NEAR(found.x, locus.x, 5e-4) << kelvin;
    EXPECT_NEAR(found.y, locus.y, 5e-4) << kelvin;
  }
}

TEST(LightColor, WhiteIsDaylightOf6504Kelvin) {
  const hdri::Rgb white = lightColor(6504);
  EXPECT_NEAR(white.r, 1, 2e-3);
  EXPECT_NEAR(white.g, 1, 2e-3);
  EXPECT_NEAR(white.b, 1, 2e-3);
}

TEST(LightColor, HasLuminanceOneAndNoNegativeChannel) {
  for (double kelvin = kLowestTemperature; kelvin <= kHighestTemperature; kelvin += 50) {
    const hdri::Rgb color = lightColor(kelvin);
    ASSERT_NEAR(luminance(color), 1, 1e-6) << kelvin;
    ASSERT_TRUE(color.r >= 0 && color.g >= 0 && color.b >= 0) << kelvin;
  }
}

TEST(LightColor, GrowsCoolerWithoutJumps) {
  double last = 1e9;
  for (double kelvin = kLowestTemperature; kelvin <= kHighestTemperature; kelvin += 10) {
    const hdri::Rgb color = lightColor(kelvin);
    const double warmth = static_cast<double>(color.r);
    ASSERT_LT(warmth, last) << kelvin;
    ASSERT_TRUE(last == 1e9 || last - warmth < 0.02 * last) << kelvin;
    last = warmth;
  }
}

TEST(LightColor, StandsInPlaceOfColorsAndTints) {
  const hdri::Rgb warm = lightColor(3200);
  const auto background = [](const std::string& brush) {
    return parseScene(withBackground(brush), "s.json").background.paint;
  };
  EXPECT_EQ(std::get<ColorPaint>(background(R"({"type": "color", "temperature": 3200})")).color, warm);
  const auto tinted = std::get<GradientPaint>(background(
      R"({"type": "gradient", "temperature": 3200, "stops": [{"position": 0, "temperature": 3200}]})"));
  EXPECT_EQ(tinted.adjustments.tintRed, warm.r);
  EXPECT_EQ(tinted.adjustments.tintBlue, warm.b);
  EXPECT_EQ(tinted.stops[0].g, warm.g);
}

TEST(LightColor, IsRefusedBesideAColorAndOutsideOfItsRange) {
  EXPECT_EQ(errorsOf(withBackground(R"({"type": "color", "color": [1, 1, 1], "temperature": 3200})")),
            "s.json: background.temperature: given together with color; allowed: one of the two");
  EXPECT_EQ(errorsOf(withBackground(R"({"type": "gradient", "tint": [1, 1, 1], "temperature": 3200})")),
            "s.json: background.temperature: given together with tint; allowed: one of the two");
  EXPECT_EQ(errorsOf(withBackground(R"({"type": "color", "temperature": 999})")),
            "s.json: background.temperature: 999 is below 1000; allowed: at least 1000 and at most 40000");
  EXPECT_EQ(errorsOf(withBackground(R"({"type": "color"})")),
            "s.json: background.color: missing; required: [red, green, blue], three numbers");
}

TEST(Exposure, DoublesTheBrightnessWithEachStop) {
  const auto brightness = [](const std::string& keys) {
    const Scene scene =
        parseScene(withBackground(R"({"type": "color", "color": [1, 1, 1], )" + keys + "}"), "s.json");
    return std::get<ColorPaint>(scene.background.paint).brightness;
  };
  EXPECT_EQ(brightness(R"("exposure": 3)"), 8);
  EXPECT_EQ(brightness(R"("exposure": -1, "brightness": 3)"), 1.5f);
  EXPECT_NEAR(brightness(R"("brightness": 3, "exposure": 0.5)"), 3 * std::sqrt(2.0), 1e-6);
  EXPECT_THAT(errorsOf(withBackground(R"({"type": "color", "color": [1, 1, 1], "exposure": 65})")),
              ::testing::HasSubstr("background.exposure: 65 is above 64"));
  EXPECT_THAT(errorsOf(withBackground(
                  R"({"type": "color", "color": [1, 1, 1], "exposure": 64, "brightness": 1e30})")),
              ::testing::HasSubstr("are not finite as a 32-bit float"));
}

}  // namespace
}  // namespace orv::scene
