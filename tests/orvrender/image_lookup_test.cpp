#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/orvMemory.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::ElementsAre;
using testing::FloatEq;
using testing::FloatNear;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Values from 0 to 1 without a pattern.
std::vector<float> noise(std::size_t count) {
  std::vector<float> values(count);
  std::uint32_t state = 7;
  for (float& value : values) {
    state = state * 1664525u + 1013904223u;
    value = static_cast<float>(state >> 8) / static_cast<float>(1 << 24);
  }
  return values;
}

class ImageLookupTest : public HostTest {
 protected:
  orvImage* image(int width, int height, int channels, const std::vector<float>& values) {
    writeImage("openexr", path, floatSpec(width, height, channels), values);
    return load(path, orvTexture_profile::environment, false);
  }
  /// A grey image, ready for filtered look-ups.
  orvImage* filtered(int width, int height, const std::vector<float>& values) {
    orvImage* const made = image(width, height, 1, values);
    made->set_filter_mode(orvFilter_mode::anisotropic);
    return made;
  }

  static std::array<float, 4> at(const orvImage& image, float u, float v) {
    orvImage_lookup lookup;
    lookup.u = u;
    lookup.v = v;
    image.lookup(lookup);
    return {lookup.rgba[0], lookup.rgba[1], lookup.rgba[2], lookup.rgba[3]};
  }
  /// Red of a filtered look-up over a footprint along the axes.
  static float over(const orvImage& image, float u, float v, float width, float height) {
    orvImage_lookup lookup;
    lookup.u = u;
    lookup.v = v;
    lookup.dsdx = width;
    lookup.dtdy = height;
    image.lookup_filtered(lookup);
    return lookup.rgba[0];
  }

  const std::string path = folder / "image.exr";
  const std::vector<float> four = {1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0};
};

TEST_F(ImageLookupTest, CentresOfPixelsGiveTheirColor) {
  const orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(at(*made, 0.25f, 0.75f)[0], 1.0f);
  EXPECT_EQ(at(*made, 0.75f, 0.75f)[0], 2.0f);
  EXPECT_EQ(at(*made, 0.25f, 0.25f)[0], 3.0f);
  EXPECT_EQ(at(*made, 0.75f, 0.25f)[0], 4.0f);
}

TEST_F(ImageLookupTest, BetweenCentresItIsBilinear) {
  const orvImage* const made = image(2, 2, 3, four);
  EXPECT_FLOAT_EQ(at(*made, 0.5f, 0.5f)[0], 2.5f);
  EXPECT_FLOAT_EQ(at(*made, 0.375f, 0.75f)[0], 1.25f);
  EXPECT_FLOAT_EQ(at(*made, 0.25f, 0.625f)[0], 1.5f);
}

TEST_F(ImageLookupTest, AGradientReadsAsALine) {
  std::vector<float> ramp(std::size_t{3} * 10);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i / 3);
  const orvImage* const made = image(10, 1, 3, ramp);
  // Column x has its centre at u = (x + 0.5) / 10 and the value x.
  for (float u = 0.05f; u <= 0.95f; u += 0.01f) EXPECT_NEAR(at(*made, u, 0.5f)[1], 10 * u - 0.5f, 1e-5f);
}

TEST_F(ImageLookupTest, EdgesAreClampedAndDoNotWrap) {
  const orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(at(*made, 0, 1)[0], 1.0f);
  EXPECT_EQ(at(*made, 1, 1)[0], 2.0f);
  EXPECT_EQ(at(*made, 0, 0)[0], 3.0f);
  EXPECT_EQ(at(*made, 1, 0)[0], 4.0f);
}

TEST_F(ImageLookupTest, CoordinatesAreClamped) {
  const orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(at(*made, -7, 3e38f)[0], 1.0f);
  EXPECT_EQ(at(*made, kInfinity, -kInfinity)[0], 4.0f);
}

TEST_F(ImageLookupTest, CoordinatesThatAreNotNumbersCountAsZero) {
  orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(at(*made, kNaN, kNaN)[0], 3.0f);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  EXPECT_EQ(over(*made, kNaN, kNaN, 0, 0), 3.0f);
}

TEST_F(ImageLookupTest, ColorIsStraightAndFilteredAssociated) {
  // White that is there beside black that is not: halfway there is white, half there.
  const orvImage* const made = image(2, 1, 4, {1, 1, 1, 1, 0, 0, 0, 0});
  EXPECT_THAT(at(*made, 0.5f, 0.5f), ElementsAre(1, 1, 1, 0.5f));
}

TEST_F(ImageLookupTest, ColorUnderHalfAlphaIsDivided) {
  const orvImage* const made = image(1, 1, 4, {0.25f, 0.5f, 1, 0.5f});
  EXPECT_THAT(at(*made, 0.5f, 0.5f), ElementsAre(0.5f, 1, 2, 0.5f));
}

TEST_F(ImageLookupTest, ColorWithoutAnyAlphaStaysAsItIs) {
  const orvImage* const made = image(1, 1, 4, {0.25f, 0.5f, 1, 0});
  EXPECT_THAT(at(*made, 0.5f, 0.5f), ElementsAre(0.25f, 0.5f, 1, 0));
}

TEST_F(ImageLookupTest, ColorUnderTheSmallestAlphaIsFinite) {
  const orvImage* const made = image(1, 1, 4, {65504, 0, 0, 1e-40f});
  EXPECT_TRUE(std::isfinite(at(*made, 0.5f, 0.5f)[0]));
}

TEST_F(ImageLookupTest, PixelsThatLieFurtherApartThanTheLargestFloatGiveNumbers) {
  constexpr float most = std::numeric_limits<float>::max();
  orvImage* const made = image(2, 2, 3, {most, 0, 0, -most, 0, 0, -most, 0, 0, most, 0, 0});
  made->set_filter_mode(orvFilter_mode::anisotropic);
  for (const float u : {0.25f, 0.4f, 0.5f, 0.75f}) {
    for (const float v : {0.25f, 0.6f, 0.75f}) {
      EXPECT_TRUE(std::isfinite(at(*made, u, v)[0])) << u << ' ' << v;
      EXPECT_TRUE(std::isfinite(over(*made, u, v, 0, 0))) << u << ' ' << v;
      EXPECT_TRUE(std::isfinite(over(*made, u, v, 0.9f, 0.3f))) << u << ' ' << v;
    }
  }
}

TEST_F(ImageLookupTest, WithoutAlphaAlphaIsOne) {
  orvImage* const made = image(1, 1, 3, {1, 2, 3});
  EXPECT_EQ(at(*made, 0.5f, 0.5f)[3], 1.0f);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  orvImage_lookup lookup;
  made->lookup_filtered(lookup);
  EXPECT_EQ(lookup.rgba[3], 1.0f);
}

TEST_F(ImageLookupTest, GainsScaleEachResult) {
  const orvImage* const made = image(1, 1, 4, {1, 1, 1, 1});
  orvImage_lookup lookup;
  lookup.gain[0] = 2;
  lookup.gain[1] = 3;
  lookup.gain[2] = 4;
  lookup.gain[3] = 0.5f;
  made->lookup(lookup);
  EXPECT_THAT(lookup.rgba, ElementsAre(2, 3, 4, 0.5f));
}

TEST_F(ImageLookupTest, ColorStartsAtTheFirstChannel) {
  orvImage* const made = image(1, 1, 4, {1, 2, 3, 1});
  for (const bool filter : {false, true}) {
    if (filter) made->set_filter_mode(orvFilter_mode::anisotropic);
    orvImage_lookup lookup;
    const auto read = [&](std::uint32_t channel) {
      lookup.firstChannel = channel;
      filter ? made->lookup_filtered(lookup) : made->lookup(lookup);
      return std::array<float, 4>{lookup.rgba[0], lookup.rgba[1], lookup.rgba[2], lookup.rgba[3]};
    };
    EXPECT_THAT(read(1), ElementsAre(2, 3, 1, 1));
    EXPECT_THAT(read(3), ElementsAre(1, 0, 0, 1));
    EXPECT_THAT(read(4), ElementsAre(0, 0, 0, 1));
    EXPECT_THAT(read(0xFFFFFFFFu), ElementsAre(0, 0, 0, 1));
  }
}

TEST_F(ImageLookupTest, ThePlainLookUpIgnoresTheFootprint) {
  orvImage* const made = image(2, 2, 3, four);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  orvImage_lookup lookup;
  lookup.u = 0.25f;
  lookup.v = 0.75f;
  lookup.dsdx = lookup.dtdy = 1;
  made->lookup(lookup);
  EXPECT_EQ(lookup.rgba[0], 1.0f);
}

TEST_F(ImageLookupTest, TheFilterModeIsTheOneChosenLast) {
  orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(made->filter_mode(), orvFilter_mode::bilinear);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  EXPECT_EQ(made->filter_mode(), orvFilter_mode::anisotropic);
  made->set_filter_mode(orvFilter_mode::bilinear);
  EXPECT_EQ(made->filter_mode(), orvFilter_mode::bilinear);
}

TEST_F(ImageLookupTest, LevelsRunDownToASinglePixel) {
  EXPECT_EQ(image(1, 1, 1, counted(1))->mip_levels(), 1u);
  EXPECT_EQ(image(64, 16, 1, counted(1024))->mip_levels(), 7u);
  EXPECT_EQ(image(65, 16, 1, counted(1040))->mip_levels(), 7u);
}

TEST_F(ImageLookupTest, SmallerCopiesCountAsTheImagesMemory) {
  orvImage* const made = image(64, 64, 3, std::vector<float>(3 * 64 * 64));
  const std::uint64_t plain = made->memory();
  made->set_filter_mode(orvFilter_mode::anisotropic);
  // 32^2 + 16^2 + ... + 1 pixels.
  EXPECT_EQ(made->memory() - plain, 1365u * 3 * sizeof(float));
}

TEST_F(ImageLookupTest, FilteredBeforeItIsChosenIsPlain) {
  const orvImage* const made = image(2, 2, 3, four);
  EXPECT_EQ(over(*made, 0.25f, 0.75f, 1, 1), 1.0f);
}

TEST_F(ImageLookupTest, FilteredWithoutAFootprintIsPlain) {
  orvImage* const made = filtered(32, 16, noise(32 * 16));
  for (float u = 0; u <= 1; u += 0.03f) {
    for (float v = 0; v <= 1; v += 0.07f)
      ASSERT_NEAR(over(*made, u, v, 0, 0), at(*made, u, v)[0], 1e-5f) << u << v;
  }
}

TEST_F(ImageLookupTest, FilteredHasItsTopRowAtOne) {
  orvImage* const made = filtered(2, 2, {1, 2, 3, 4});
  EXPECT_EQ(over(*made, 0, 1, 0, 0), 1.0f);
  EXPECT_EQ(over(*made, 1, 0, 0, 0), 4.0f);
}

TEST_F(ImageLookupTest, FilteringAConstantKeepsIt) {
  orvImage* const made = filtered(50, 30, std::vector<float>(1500, 3));
  for (const float size : {0.0f, 0.01f, 0.1f, 0.5f, 2.0f, 1e30f}) {
    EXPECT_NEAR(over(*made, 0.3f, 0.6f, size, size), 3, 1e-4f) << size;
    EXPECT_NEAR(over(*made, 0, 0, size, 0.001f), 3, 1e-4f) << size;
  }
}

TEST_F(ImageLookupTest, FilteringALineGivesItsMiddle) {
  std::vector<float> ramp(128 * 8);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = (static_cast<float>(i % 128) + 0.5f) / 128;
  orvImage* const made = filtered(128, 8, ramp);
  for (const float size : {0.02f, 0.06f, 0.12f})
    EXPECT_NEAR(over(*made, 0.4f, 0.5f, size, size), 0.4f, 0.01f);
}

TEST_F(ImageLookupTest, TheWholeImageFiltersToItsMean) {
  // Odd sizes, where no level is exactly half of the one before.
  const std::vector<float> values = noise(37 * 23);
  orvImage* const made = filtered(37, 23, values);
  double mean = 0;
  for (const float value : values) mean += static_cast<double>(value) / (37 * 23);
  EXPECT_NEAR(over(*made, 0.5f, 0.5f, 2, 2), mean, 1e-5);
}

TEST_F(ImageLookupTest, AFootprintFiltersToTheMeanOfItsArea) {
  constexpr int kSize = 512;
  std::vector<float> values = noise(kSize * kSize);
  // Noise over a slow wave, so that places differ.
  const auto wave = [](int x, int y) {
    return std::sin(0.012f * static_cast<float>(x)) * std::cos(0.009f * static_cast<float>(y));
  };
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) values[static_cast<std::size_t>(y * kSize + x)] += 4 * wave(x, y);
  }
  orvImage* const made = filtered(kSize, kSize, values);
  for (const int side : {16, 32}) {
    for (const auto& [column, row] : {std::pair{100, 120}, {256, 256}, {400, 130}, {333, 420}}) {
      double mean = 0;
      for (int y = row - side / 2; y < row + side / 2; ++y) {
        for (int x = column - side / 2; x < column + side / 2; ++x) {
          mean += static_cast<double>(values[static_cast<std::size_t>(y * kSize + x)]) / (side * side);
        }
      }
      const float got = over(*made, static_cast<float>(column) / kSize, 1 - static_cast<float>(row) / kSize,
                             static_cast<float>(side) / kSize, static_cast<float>(side) / kSize);
      // The mean of the noise alone is off by 0.29 / side, three times over; the wave bends a little.
      EXPECT_NEAR(got, mean, 3 * 0.29 / side + 0.05) << side << " at " << column << ", " << row;
    }
  }
}

class StripesTest : public ImageLookupTest {
 protected:
  /// Columns of 0 and 1 in turn, 256 of them.
  orvImage* stripes() {
    std::vector<float> values(256 * 256);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i % 2);
    return filtered(256, 256, values);
  }
  const float kWhite = 129.5f / 256;  // the centre of a white column
  const float kPixel = 1.0f / 256;
};

TEST_F(StripesTest, AcrossTheStripesAFootprintIsGrey) {
  EXPECT_NEAR(over(*stripes(), kWhite, 0.5f, 0.1f, kPixel), 0.5f, 0.05f);
}

TEST_F(StripesTest, AlongTheStripesAFootprintStaysWhite) {
  EXPECT_NEAR(over(*stripes(), kWhite, 0.5f, kPixel / 4, 6 * kPixel), 1.0f, 0.1f);
}

TEST_F(StripesTest, WithoutAnisotropyAlongIsGreyToo) {
  orvImage_lookup lookup;
  lookup.u = kWhite;
  lookup.v = 0.5f;
  lookup.dsdx = kPixel / 4;
  lookup.dtdy = 8 * kPixel;
  lookup.maxAnisotropy = 1;
  stripes()->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], 0.5f, 0.1f);
}

TEST_F(StripesTest, TheWidthScalesTheFootprint) {
  orvImage* const made = stripes();
  orvImage_lookup lookup;
  lookup.u = kWhite;
  lookup.v = 0.5f;
  lookup.dsdx = lookup.dtdy = kPixel / 4;
  made->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], 1.0f, 0.1f);
  lookup.widthS = lookup.widthT = 100;
  made->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], 0.5f, 0.05f);
}

TEST_F(ImageLookupTest, InsideAPixelFilteredIsPlainToTheBit) {
  orvImage* const made = filtered(37, 23, noise(37 * 23));
  for (float u = 0; u <= 1; u += 0.043f) {
    for (float v = 0; v <= 1; v += 0.071f)
      ASSERT_EQ(over(*made, u, v, 0.7f / 37, 0.7f / 23), at(*made, u, v)[0]) << u << ' ' << v;
  }
}

TEST_F(ImageLookupTest, OddSizesHalveIntoPixelsThatShareTheOneBetween) {
  // 5 x 3 becomes 2 x 1, pixels of 2.5 x 3: the middle column counts half on either side.
  std::vector<float> values = noise(15);
  orvImage* const made = filtered(5, 3, values);
  double left = 0, right = 0;
  for (std::size_t y = 0; y < 3; ++y) {
    const auto pixel = [&](std::size_t x) { return static_cast<double>(values[5 * y + x]); };
    left += (pixel(0) + pixel(1) + 0.5 * pixel(2)) / 7.5;
    right += (0.5 * pixel(2) + pixel(3) + pixel(4)) / 7.5;
  }
  EXPECT_NEAR(over(*made, 0.25f, 0.5f, 2.0f / 5, 2.0f / 3), left, 1e-6);
  EXPECT_NEAR(over(*made, 0.75f, 0.5f, 2.0f / 5, 2.0f / 3), right, 1e-6);
}

TEST_F(ImageLookupTest, ASingleRowOrColumnFiltersToItsMean) {
  // As many probes as pixels, each on a centre.
  for (const int count : {2, 5, 8}) {
    const std::vector<float> values = noise(static_cast<std::size_t>(count));
    double mean = 0;
    for (const float value : values) mean += static_cast<double>(value) / count;
    EXPECT_NEAR(over(*filtered(count, 1, values), 0.5f, 0.5f, 1, 1), mean, 1e-6) << count;
    EXPECT_NEAR(over(*filtered(1, count, values), 0.5f, 0.5f, 1, 1), mean, 1e-6) << count;
  }
}

TEST_F(ImageLookupTest, ARowOfManyPixelsHasLevelsToo) {
  // Pixels 8 to 15 of a row are one pixel of the third level, and so they are of a column.
  std::vector<float> values = noise(64);
  double mean = 0;
  for (std::size_t i = 8; i < 16; ++i) mean += static_cast<double>(values[i]) / 8;
  orvImage_lookup lookup;
  lookup.maxAnisotropy = 1;
  lookup.u = 12.0f / 64;
  lookup.v = 0.5f;
  lookup.dsdx = 8.0f / 64;
  filtered(64, 1, values)->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], mean, 1e-6);
  std::swap(lookup.u, lookup.v);
  lookup.v = 1 - lookup.v;
  std::swap(lookup.dsdx, lookup.dtdx);
  filtered(1, 64, values)->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], mean, 1e-6);
}

TEST_F(ImageLookupTest, HugeFootprintsGiveTheMeanOfAll) {
  const std::vector<float> values = noise(40 * 40);
  double mean = 0;
  for (const float value : values) mean += static_cast<double>(value) / 1600;
  orvImage* const made = filtered(40, 40, values);
  orvImage_lookup lookup;
  for (const float size : {1.0f, 1e10f, 3.4e38f}) {
    lookup.u = 0.3f;
    lookup.v = 0.9f;
    lookup.dsdx = size;
    lookup.dtdy = -size;
    lookup.widthS = lookup.widthT = size;
    made->lookup_filtered(lookup);
    EXPECT_NEAR(lookup.rgba[0], mean, 1e-5) << size;
  }
}

TEST_F(ImageLookupTest, AFlatFootprintFiltersToTheMeanOfItsArea) {
  // 64 x 16 pixels that are four of the fourth level.
  const std::vector<float> values = noise(512 * 512);
  double mean = 0;
  for (std::size_t y = 112; y < 128; ++y) {
    for (std::size_t x = 224; x < 288; ++x) mean += static_cast<double>(values[512 * y + x]) / 1024;
  }
  orvImage* const made = filtered(512, 512, values);
  EXPECT_NEAR(over(*made, 256.0f / 512, 1 - 120.0f / 512, 64.0f / 512, 16.0f / 512), mean, 1e-5);
}

TEST_F(ImageLookupTest, WidthsBetweenPowersOfTwoLieBetweenLevels) {
  const std::vector<float> values = noise(64 * 64);
  orvImage* const made = filtered(64, 64, values);
  const auto width = [&](float pixels) { return over(*made, 0.5625f, 0.4375f, pixels / 64, pixels / 64); };
  EXPECT_NEAR(width(5), 0.75f * width(4) + 0.25f * width(8), 1e-6f);
  EXPECT_NEAR(width(7), 0.25f * width(4) + 0.75f * width(8), 1e-6f);
}

TEST_F(ImageLookupTest, AFootprintWithoutAnAreaIsALine) {
  std::vector<float> ramp(128 * 64);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i % 128) - 63.5f;
  orvImage* const made = filtered(128, 64, ramp);
  orvImage_lookup lookup;
  lookup.u = 0.5f;
  lookup.v = 0.5f;
  // Both changes the same way: the mean of a ramp about its middle.
  lookup.dsdx = lookup.dsdy = 4.0f / 128;
  lookup.dtdx = lookup.dtdy = 4.0f / 64;
  made->lookup_filtered(lookup);
  EXPECT_NEAR(lookup.rgba[0], 0, 1e-4f);
}

TEST_F(ImageLookupTest, NegativePixelsCountInTheMean) {
  orvImage* const made = filtered(2, 2, {-4, 1, 1, 1});
  EXPECT_EQ(over(*made, 0.5f, 0.5f, 1, 1), -0.25f);
}

TEST_F(ImageLookupTest, TheLargestFloatsFilterToThemselves) {
  constexpr float kMost = std::numeric_limits<float>::max();
  orvImage* const made = filtered(7, 5, std::vector<float>(35, kMost));
  for (const float size : {0.0f, 0.3f, 0.5f, 1.0f, 2.0f})
    EXPECT_FLOAT_EQ(over(*made, 0.4f, 0.6f, size, size), kMost) << size;
}

TEST_F(ImageLookupTest, CoordinatesThatAreNotNumbersAreFilteredAtZero) {
  orvImage* const made = filtered(64, 64, noise(64 * 64));
  EXPECT_EQ(over(*made, kNaN, kNaN, 0.1f, 0.2f), over(*made, 0, 0, 0.1f, 0.2f));
  EXPECT_EQ(over(*made, kInfinity, -kInfinity, 0.1f, 0.2f), over(*made, 1, 0, 0.1f, 0.2f));
}

/// Stripes along the picture's diagonal: 1 where (x - y) mod 8 is below 4, so that (x - y) of 1 and 2 are the
/// middle of a white one.
class DiagonalTest : public ImageLookupTest {
 protected:
  /// Red over a footprint of `along` x 1 pixels, turned to run down the diagonal or up across it.
  float over(float along, bool across, std::uint32_t most, bool conservative) {
    std::vector<float> values(256 * 256);
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = (256 + i % 256 - i / 256) % 8 < 4 ? 1.0f : 0.0f;
    orvImage_lookup lookup;
    // Between pixels (129, 128) and (130, 128), where x - y is 1 and 2.
    lookup.u = 130.0f / 256;
    lookup.v = 1 - 128.5f / 256;
    const float side = std::sqrt(0.5f) / 256;
    lookup.dsdx = along * side;
    lookup.dtdx = across ? -along * side : along * side;
    lookup.dsdy = side;
    lookup.dtdy = across ? side : -side;
    lookup.maxAnisotropy = most;
    lookup.conservative = conservative ? 1 : 0;
    filtered(256, 256, values)->lookup_filtered(lookup);
    return lookup.rgba[0];
  }
};

TEST_F(DiagonalTest, DownTheStripesAFootprintStaysWhite) {
  EXPECT_NEAR(over(16, false, 16, true), 1.0f, 1e-5f);
}

TEST_F(DiagonalTest, AcrossTwoStripesAFootprintIsGrey) {
  // A period is 8 / sqrt(2) pixels long.
  EXPECT_NEAR(over(2 * 8 * std::sqrt(0.5f), true, 16, true), 0.5f, 0.05f);
}

TEST_F(DiagonalTest, ALongFootprintGetsWiderProbes) { EXPECT_LT(over(64, false, 4, true), 0.7f); }

TEST_F(DiagonalTest, ALongFootprintIsCutWhereItNeedNotBeConservative) {
  EXPECT_NEAR(over(64, false, 4, false), 1.0f, 1e-5f);
}

TEST_F(ImageLookupTest, FilteringDoesNotWrap) {
  std::vector<float> halves(128 * 64);
  for (std::size_t i = 0; i < halves.size(); ++i) halves[i] = i % 128 < 64 ? 0.0f : 1.0f;
  orvImage* const made = filtered(128, 64, halves);
  EXPECT_NEAR(over(*made, 0, 0.5f, 0.2f, 0.2f), 0.0f, 1e-3f);
  EXPECT_NEAR(over(*made, 1, 0.5f, 0.2f, 0.2f), 1.0f, 1e-3f);
  std::vector<float> rows(64 * 128);
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = i / 64 < 64 ? 0.0f : 1.0f;
  orvImage* const turned = filtered(64, 128, rows);
  EXPECT_NEAR(over(*turned, 0.5f, 1, 0.2f, 0.2f), 0.0f, 1e-3f);
  EXPECT_NEAR(over(*turned, 0.5f, 0, 0.2f, 0.2f), 1.0f, 1e-3f);
}

TEST_F(ImageLookupTest, FootprintsThatAreNotFiniteAreIgnored) {
  orvImage* const made = filtered(2, 2, {1, 2, 3, 4});
  orvImage_lookup lookup;
  lookup.u = 0.25f;
  lookup.v = 0.75f;
  lookup.dsdx = lookup.dtdx = kNaN;
  lookup.dsdy = kInfinity;
  lookup.dtdy = -kInfinity;
  lookup.widthS = lookup.widthT = kNaN;
  lookup.maxAnisotropy = 0;
  made->lookup_filtered(lookup);
  EXPECT_EQ(lookup.rgba[0], 1.0f);
}

TEST_F(ImageLookupTest, FilteringAlphaIsAssociatedToo) {
  // White where it is there, and one column in two it is not.
  std::vector<float> values(std::size_t{4} * 64 * 64);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = i / 4 % 2 == 0 ? 1.0f : 0.0f;
  orvImage* const made = image(64, 64, 4, values);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  orvImage_lookup lookup;
  lookup.u = lookup.v = 0.5f;
  lookup.dsdx = lookup.dtdy = 0.25f;
  made->lookup_filtered(lookup);
  EXPECT_THAT(lookup.rgba, ElementsAre(FloatNear(1, 1e-4f), FloatNear(1, 1e-4f), FloatNear(1, 1e-4f),
                                       FloatNear(0.5f, 0.02f)));
}

TEST_F(ImageLookupTest, FilteringSeesLinearAndRepairedPixels) {
  orvImage* const repaired = filtered(2, 1, {kNaN, kInfinity});
  EXPECT_EQ(over(*repaired, 0, 0.5f, 0, 0), 0.0f);
  EXPECT_EQ(over(*repaired, 1, 0.5f, 0, 0), 65504.0f);
  writeCodes<std::uint8_t>("png", path, ImageSpec(1, 1, 3, TypeDesc::UINT8), {51, 51, 51});
  orvImage* const encoded = load(path);
  encoded->set_filter_mode(orvFilter_mode::anisotropic);
  EXPECT_FLOAT_EQ(over(*encoded, 0.5f, 0.5f, 0, 0), static_cast<float>(std::pow((0.2 + 0.055) / 1.055, 2.4)));
}

TEST_F(ImageLookupTest, WithoutMemoryForTheCopiesItIsPlain) {
  orvImage* const made = image(2, 2, 3, four);
  orv_memory_fail_at(1);
  made->set_filter_mode(orvFilter_mode::anisotropic);
  EXPECT_EQ(over(*made, 0.25f, 0.75f, 1, 1), 1.0f);
  EXPECT_THAT(log.lines(), ElementsAre(testing::HasSubstr("there is no memory to filter it")));
}

TEST_F(ImageLookupTest, TheSmallerCopiesGoWithTheImage) {
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  orvImage* const made = filtered(64, 64, noise(64 * 64));
  over(*made, 0.5f, 0.5f, 0.1f, 0.1f);
  orv_image_free(scene(), made, true);
  EXPECT_EQ(orv_memory_counters().liveBlocks, blocks);
}

TEST_F(ImageLookupTest, LookUpsFromManyThreadsGiveWhatOneThreadGets) {
  constexpr int kThreads = 4;
  constexpr int kLookups = 4000;
  std::vector<orvImage*> images;
  for (int i = 0; i < 3; ++i) {
    std::vector<float> values = noise(300 * 200);
    for (float& value : values) value += static_cast<float>(i);
    images.push_back(filtered(300, 200, values));
  }
  const auto look = [&](int i, bool filter) {
    orvImage_lookup lookup;
    const auto x = static_cast<float>(i);
    lookup.u = x * 0.618034f - std::floor(x * 0.618034f);
    lookup.v = x * 0.754878f - std::floor(x * 0.754878f);
    lookup.dsdx = 0.0001f * static_cast<float>(i % 400);
    lookup.dtdy = 0.0001f * static_cast<float>(i % 130);
    const orvImage& chosen = *images[static_cast<std::size_t>(i % 3)];
    filter ? chosen.lookup_filtered(lookup) : chosen.lookup(lookup);
    return lookup.rgba[0];
  };
  std::vector<float> expected(2 * kLookups);
  for (int i = 0; i < kLookups; ++i) {
    expected[static_cast<std::size_t>(2 * i)] = look(i, false);
    expected[static_cast<std::size_t>(2 * i + 1)] = look(i, true);
  }
  std::array<int, kThreads> wrong{};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int n = 0; n < kLookups; ++n) {
        const int i = (n + t * 997) % kLookups;
        if (look(i, false) != expected[static_cast<std::size_t>(2 * i)]) ++wrong[static_cast<std::size_t>(t)];
        if (look(i, true) != expected[static_cast<std::size_t>(2 * i + 1)])
          ++wrong[static_cast<std::size_t>(t)];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, testing::Each(0));
}

}  // namespace
