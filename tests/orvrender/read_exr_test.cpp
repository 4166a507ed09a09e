#include "orvrender/files/read_exr.h"

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "orvrender/files/exr_chunks.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace orv::host {
namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::ElementsAre;

constexpr ImageLimits kLimits{.side = 1000, .pixels = 1000000};

class ReadExrTest : public testing::Test {
 protected:
  const TempFolder folder;
  const std::string path = folder / "image.exr";

  bool isRead() const { return readExr(path, kLimits).has_value(); }
};

/// Smooth and rough rows, so that some chunks shrink and others are stored.
std::vector<float> mixedValues(const ImageSpec& spec) {
  std::vector<float> values(spec.image_pixels() * static_cast<std::size_t>(spec.nchannels));
  std::uint32_t state = 1;
  const std::size_t rowValues = static_cast<std::size_t>(spec.width * spec.nchannels);
  for (std::size_t i = 0; i < values.size(); ++i) {
    state = state * 1664525u + 1013904223u;
    const bool rough = i / rowValues / 32 % 2 == 1;
    values[i] = rough ? std::ldexp(static_cast<float>(state >> 9), static_cast<int>(state % 20) - 30)
                      : static_cast<float>(i % 7) * 0.25f;
  }
  return values;
}

TEST_F(ReadExrTest, EveryCompressionIsReadAsOpenImageIoReadsIt) {
  for (const char* compression : {"none", "rle", "zips", "zip", "piz", "pxr24", "b44", "b44a"}) {
    for (const auto type : {TypeDesc::HALF, TypeDesc::FLOAT}) {
      ImageSpec spec(37, 150, 3, type);
      spec.attribute("compression", compression);
      writeImage("openexr", path, spec, mixedValues(spec));
      std::vector<float> expected(spec.image_pixels() * 3);
      ASSERT_TRUE(OIIO::ImageInput::open(path)->read_image(0, 0, 0, 3, TypeDesc::FLOAT, expected.data()));

      const auto read = readExr(path, kLimits);
      ASSERT_TRUE(read) << compression;
      EXPECT_EQ(std::memcmp(read->pixels.rgb.get(), expected.data(), expected.size() * sizeof(float)), 0)
          << compression;
    }
  }
}

TEST_F(ReadExrTest, EveryCropIsItsPartOfTheWhole) {
  for (int x = -3; x <= 3; ++x) {
    for (int y = -20; y <= 20; y += 5) {
      ImageSpec spec = floatSpec(5, 40, 3);
      spec.x = x;
      spec.y = y;
      spec.full_x = spec.full_y = 0;
      spec.full_width = 5;
      spec.full_height = 40;
      writeImage("openexr", path, spec, counted(600));
      const auto read = readExr(path, kLimits);
      ASSERT_TRUE(read);
      for (int row = 0; row < 40; ++row) {
        for (int column = 0; column < 5; ++column) {
          const bool held = column >= x && column < x + 5 && row >= y && row < y + 40;
          const int place = (row - y) * 5 + column - x;
          ASSERT_EQ(read->pixels.rgb[static_cast<std::size_t>(3 * (row * 5 + column))],
                    held ? static_cast<float>(3 * place + 1) : 0.0f)
              << x << " " << y << " " << column << " " << row;
        }
      }
    }
  }
}

TEST_F(ReadExrTest, OfSeveralLayersTheFirstByNameIsRead) {
  ImageSpec spec = floatSpec(1, 1, 3);
  spec.channelnames = {"b.R", "a.b.R", "a.Y"};
  writeImage("openexr", path, spec, {1, 2, 3});
  const auto read = readExr(path, kLimits);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->pixels.rgb[0], 3.0f);
}

TEST_F(ReadExrTest, TilesAndIntegersAreLeftToOpenImageIo) {
  ImageSpec tiled = floatSpec(32, 32, 3);
  tiled.tile_width = tiled.tile_height = 16;
  writeImage("openexr", path, tiled, std::vector<float>(32 * 32 * 3));
  EXPECT_FALSE(isRead());
  writeImage("openexr", path, ImageSpec(4, 4, 3, TypeDesc::UINT32), std::vector<float>(48));
  EXPECT_FALSE(isRead());
}

TEST_F(ReadExrTest, AnIntegerChannelBesideColorIsPassedOver) {
  ImageSpec spec = floatSpec(1, 1, 4);
  spec.channelnames = {"R", "G", "B", "id"};
  spec.channelformats = {TypeDesc::FLOAT, TypeDesc::FLOAT, TypeDesc::FLOAT, TypeDesc::UINT32};
  writeImage("openexr", path, spec, {1, 2, 3, 0.5f});
  const auto read = readExr(path, kLimits);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->pixels.rgb[2], 3.0f);
}

TEST_F(ReadExrTest, TheHeaderIsDescribed) {
  ImageSpec spec(4, 4, 3, TypeDesc::HALF);
  spec.attribute("compression", "piz");
  spec.attribute("Software", "tester 1.2");
  writeImage("openexr", path, spec, std::vector<float>(48));
  const auto header = describeExr(path);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->channels, 3);
  EXPECT_EQ(header->pixelType, "half");
  EXPECT_EQ(header->compression, "piz");
  EXPECT_EQ(header->software, "tester 1.2");
}

std::vector<std::uint8_t> added(const std::vector<std::uint8_t>& in) {
  std::vector<std::uint8_t> out(in.size());
  addAndInterleave(in.data(), in.size(), out.data());
  return out;
}

TEST(AddAndInterleave, AddsUpAndPutsTheHalvesBetweenEachOther) {
  EXPECT_THAT(added({}), ElementsAre());
  EXPECT_THAT(added({7}), ElementsAre(7));
  EXPECT_THAT(added({7, 129}), ElementsAre(7, 8));
  // 10, 10 + 2, 12 - 1; then 11 + 127, 138 - 128.
  EXPECT_THAT(added({10, 130, 127, 255, 0}), ElementsAre(10, 138, 12, 10, 11));
}

TEST(HalvesToFloats, EveryHalfKeepsItsValue) {
  for (int bits = 0; bits < 65536; ++bits) {
    const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8)};
    float value = 0;
    halvesToFloats(bytes, 1, &value);
    const int exponent = bits >> 10 & 31;
    const int mantissa = bits & 1023;
    const double sign = bits >> 15 ? -1 : 1;
    if (exponent == 31 && mantissa != 0) {
      EXPECT_TRUE(std::isnan(value)) << bits;
    } else if (exponent == 31) {
      EXPECT_EQ(static_cast<double>(value), sign * INFINITY) << bits;
    } else {
      const double expected =
          exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024 + mantissa, exponent - 25);
      EXPECT_EQ(static_cast<double>(value), sign * expected) << bits;
      EXPECT_EQ(std::signbit(value), sign < 0) << bits;
    }
  }
}

}  // namespace
}  // namespace orv::host
