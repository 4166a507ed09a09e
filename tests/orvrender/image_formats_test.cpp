#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/orvMemory.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// IEC 61966-2-1, in double precision.
float linear(double encoded) {
  return static_cast<float>(encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4));
}

std::vector<float> all(const orvImage& image) {
  return {image.pixels(), image.pixels() + std::size_t{3} * image.width() * image.height()};
}

float alphaAt(const orvImage& image, int x, int y) {
  orvImage_lookup lookup;
  lookup.u = (static_cast<float>(x) + 0.5f) / static_cast<float>(image.width());
  lookup.v = 1 - (static_cast<float>(y) + 0.5f) / static_cast<float>(image.height());
  image.lookup(lookup);
  return lookup.rgba[3];
}

class ImageFormatsTest : public HostTest {
 protected:
  /// Writes an EXR of counted float values with the named channels and loads it.
  orvImage* exr(ImageSpec spec, const std::vector<std::string>& names, const std::vector<float>& values) {
    spec.channelnames = names;
    writeImage("openexr", path, spec, values);
    return load(path);
  }

  const std::string path = folder / "image";
};

TEST_F(ImageFormatsTest, FloatExrComesThroughBitForBit) {
  std::vector<float> values(std::size_t{3} * 37 * 23);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(static_cast<float>(i)) * 1e4f;
  for (const char* compression : {"none", "rle", "zips", "zip", "piz"}) {
    ImageSpec spec = floatSpec(37, 23, 3);
    spec.attribute("compression", compression);
    writeImage("openexr", path, spec, values);
    const orvImage* const image = load(path);
    ASSERT_NE(image, nullptr) << compression;
    EXPECT_EQ(image->width(), 37u);
    EXPECT_EQ(image->height(), 23u);
    EXPECT_FALSE(image->has_alpha());
    EXPECT_EQ(all(*image), values) << compression;
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ImageFormatsTest, PixelsAreAlignedForVectors) {
  const orvImage* const image = exr(floatSpec(5, 3, 3), {"R", "G", "B"}, counted(45));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image->pixels()) % 32, 0u);
}

TEST_F(ImageFormatsTest, HalfExrBecomesFloat) {
  ImageSpec spec(2, 1, 3, TypeDesc::HALF);
  writeImage("openexr", path, spec, {0.5f, 1, 2, 1024, 65504, 0.25f});
  EXPECT_THAT(all(*load(path)), ElementsAre(0.5f, 1, 2, 1024, 65504, 0.25f));
}

TEST_F(ImageFormatsTest, ChannelsAreFoundByNameInAnyOrder) {
  const orvImage* const image = exr(floatSpec(1, 1, 4), {"A", "B", "R", "G"}, {0.5f, 3, 1, 2});
  EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(1, 2, 3));
  EXPECT_TRUE(image->has_alpha());
  EXPECT_EQ(alphaAt(*image, 0, 0), 0.5f);
}

TEST_F(ImageFormatsTest, ExtraChannelsAreDropped) {
  const orvImage* const image =
      exr(floatSpec(2, 1, 6), {"Z", "R", "G", "B", "N.X", "id"}, {9, 1, 2, 3, 9, 9, 9, 4, 5, 6, 9, 9});
  EXPECT_THAT(all(*image), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(ImageFormatsTest, GreyBecomesRgb) {
  EXPECT_THAT(all(*exr(floatSpec(2, 1, 1), {"Y"}, {3, 4})), ElementsAre(3, 3, 3, 4, 4, 4));
}

TEST_F(ImageFormatsTest, GreyKeepsItsAlpha) {
  const orvImage* const image = exr(floatSpec(1, 1, 2), {"Y", "A"}, {3, 0.25f});
  EXPECT_THAT(pixel(*image, 0, 0), ElementsAre(3, 3, 3));
  EXPECT_EQ(alphaAt(*image, 0, 0), 0.25f);
}

TEST_F(ImageFormatsTest, RedAloneIsGrey) {
  EXPECT_THAT(all(*exr(floatSpec(1, 1, 1), {"R"}, {3})), ElementsAre(3, 3, 3));
}

TEST_F(ImageFormatsTest, AMissingColorIsZero) {
  EXPECT_THAT(all(*exr(floatSpec(1, 1, 2), {"R", "G"}, {3, 4})), ElementsAre(3, 4, 0));
}

TEST_F(ImageFormatsTest, ALayerServesWhereThereIsNoColorWithoutOne) {
  EXPECT_THAT(all(*exr(floatSpec(1, 1, 4), {"Z", "sky.R", "sky.G", "sky.B"}, {9, 1, 2, 3})),
              ElementsAre(1, 2, 3));
}

TEST_F(ImageFormatsTest, WithoutAlphaAlphaIsOne) {
  EXPECT_EQ(alphaAt(*exr(floatSpec(1, 1, 3), {"R", "G", "B"}, {1, 2, 3}), 0, 0), 1.0f);
}

TEST_F(ImageFormatsTest, OfSeveralPartsTheFirstWithColorIsRead) {
  std::array<ImageSpec, 3> parts = {floatSpec(3, 1, 1), floatSpec(3, 1, 3), floatSpec(1, 1, 3)};
  parts[0].channelnames = {"Z"};
  const char* names[] = {"depth", "beauty", "second"};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    parts[i].attribute("oiio:subimagename", names[i]);
    parts[i].full_width = 3;  // the parts of a file share their display window
    parts[i].full_height = 1;
  }
  const auto output = OIIO::ImageOutput::create("openexr");
  ASSERT_TRUE(output->open(path, 3, parts.data()));
  ASSERT_TRUE(output->write_image(TypeDesc::FLOAT, counted(3).data()));
  ASSERT_TRUE(output->open(path, parts[1], OIIO::ImageOutput::AppendSubimage));
  ASSERT_TRUE(output->write_image(TypeDesc::FLOAT, counted(9).data()));
  ASSERT_TRUE(output->open(path, parts[2], OIIO::ImageOutput::AppendSubimage));
  ASSERT_TRUE(output->write_image(TypeDesc::FLOAT, counted(3).data()));
  ASSERT_TRUE(output->close());

  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 3u);
  EXPECT_EQ(all(*image), counted(9));
}

TEST_F(ImageFormatsTest, TilesAreReadRight) {
  for (const int channels : {3, 4}) {
    ImageSpec spec = floatSpec(75, 41, channels);
    spec.tile_width = 32;
    spec.tile_height = 16;
    std::vector<float> values = counted(static_cast<std::size_t>(75 * 41 * channels));
    for (std::size_t i = 3; channels == 4 && i < values.size(); i += 4) values[i] = 1;
    writeImage("openexr", path, spec, values);
    const orvImage* const image = load(path);
    ASSERT_NE(image, nullptr);
    for (const auto& [x, y] : {std::pair{0, 0}, {31, 15}, {32, 16}, {74, 40}, {64, 3}}) {
      const auto first = static_cast<float>((y * 75 + x) * channels + 1);
      EXPECT_THAT(pixel(*image, x, y), ElementsAre(first, first + 1, first + 2)) << x << " " << y;
    }
  }
}

TEST_F(ImageFormatsTest, TheMapIsTheDisplayWindowAndBlackOutsideTheData) {
  ImageSpec spec = floatSpec(2, 1, 3);
  spec.x = 11;
  spec.y = 21;
  spec.full_x = 10;
  spec.full_y = 20;
  spec.full_width = 4;
  spec.full_height = 3;
  const orvImage* const image = exr(spec, {"R", "G", "B"}, counted(6));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 4u);
  EXPECT_EQ(image->height(), 3u);
  std::vector<float> expected(36, 0.0f);
  for (std::size_t i = 0; i < 6; ++i) expected[(4 + 1) * 3 + i] = static_cast<float>(i + 1);
  EXPECT_EQ(all(*image), expected);
}

TEST_F(ImageFormatsTest, DataBeyondTheDisplayWindowAreCropped) {
  for (const int tile : {0, 16}) {
    ImageSpec spec = floatSpec(40, 40, 3);
    spec.x = -8;
    spec.y = -9;
    spec.full_x = 0;
    spec.full_y = 0;
    spec.full_width = 5;
    spec.full_height = 4;
    spec.tile_width = spec.tile_height = tile;
    const orvImage* const image = exr(spec, {"R", "G", "B"}, counted(std::size_t{3} * 40 * 40));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width(), 5u);
    const auto red = [](int x, int y) { return static_cast<float>(((y + 9) * 40 + x + 8) * 3 + 1); };
    EXPECT_EQ(pixel(*image, 0, 0)[0], red(0, 0)) << tile;
    EXPECT_EQ(pixel(*image, 4, 3)[0], red(4, 3)) << tile;
  }
}

TEST_F(ImageFormatsTest, DataThatMissTheDisplayWindowLeaveItBlack) {
  ImageSpec spec = floatSpec(2, 2, 4);
  spec.x = 100;
  spec.full_width = 2;
  spec.full_height = 1;
  const orvImage* const image = exr(spec, {"R", "G", "B", "A"}, std::vector<float>(16, 1));
  ASSERT_NE(image, nullptr);
  EXPECT_THAT(all(*image), testing::Each(0.0f));
  EXPECT_EQ(alphaAt(*image, 0, 0), 0.0f);
}

TEST_F(ImageFormatsTest, ABandedImageWithAlphaKeepsEveryRow) {
  // Above the size that is read in one go.
  constexpr int kWidth = 1024;
  constexpr int kHeight = 2500;
  std::vector<float> values(std::size_t{4} * kWidth * kHeight);
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = i % 4 == 3 ? 1.0f : static_cast<float>(i % 8191);
  ImageSpec spec = floatSpec(kWidth, kHeight, 4);
  spec.attribute("compression", "none");
  const orvImage* const image = exr(spec, {"R", "G", "B", "A"}, values);
  ASSERT_NE(image, nullptr);
  for (std::size_t i = 0; i < std::size_t{kWidth} * kHeight; ++i) {
    ASSERT_EQ(image->pixels()[3 * i], values[4 * i]) << i;
    ASSERT_EQ(image->pixels()[3 * i + 2], values[4 * i + 2]) << i;
  }
}

TEST_F(ImageFormatsTest, RadianceIsLinear) {
  writeImage("hdr", path, floatSpec(2, 1, 3), {1, 0.5f, 0.25f, 1024, 512, 256});
  EXPECT_THAT(all(*load(path)), ElementsAre(1, 0.5f, 0.25f, 1024, 512, 256));
}

TEST_F(ImageFormatsTest, PfmRunsFromTheBottomRow) {
  writeBytes(path, pfm("PF\n1 2\n-1.0\n", {1, 2, 3, 4, 5, 6}));
  EXPECT_THAT(all(*load(path)), ElementsAre(4, 5, 6, 1, 2, 3));
}

TEST_F(ImageFormatsTest, BigEndianPfmIsTurned) {
  std::string bytes = "PF\n1 1\n1.0\n";
  for (const int first : {0x3F, 0x40, 0x41})
    bytes += std::string{static_cast<char>(first), '\x00', '\0', '\0'};
  writeBytes(path, bytes);
  EXPECT_THAT(all(*load(path)), ElementsAre(0.5f, 2.0f, 8.0f));
}

TEST_F(ImageFormatsTest, GreyPfmBecomesRgb) {
  writeBytes(path, pfm("Pf\n2 1\n-1.0\n", {7, 8}));
  EXPECT_THAT(all(*load(path)), ElementsAre(7, 7, 7, 8, 8, 8));
}

TEST_F(ImageFormatsTest, FloatTiffIsLinear) {
  writeImage("tiff", path, floatSpec(2, 1, 3), {1, 0.5f, 100, 4, 5, 6});
  EXPECT_THAT(all(*load(path)), ElementsAre(1, 0.5f, 100, 4, 5, 6));
}

TEST_F(ImageFormatsTest, EveryEightBitCodeOfAPngIsDecodedFromSrgb) {
  std::vector<std::uint8_t> codes(std::size_t{3} * 256);
  for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<std::uint8_t>(i / 3);
  writeCodes("png", path, ImageSpec(256, 1, 3, TypeDesc::UINT8), codes);
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  for (int code = 0; code < 256; ++code) ASSERT_EQ(pixel(*image, code, 0)[1], linear(code / 255.0)) << code;
}

TEST_F(ImageFormatsTest, SixteenBitPngIsDecodedFromSrgb) {
  const std::vector<std::uint16_t> codes = {0, 1, 2650, 2652, 32768, 65535};
  writeCodes("png", path, ImageSpec(2, 1, 3, TypeDesc::UINT16), codes);
  const std::vector<float> got = all(*load(path));
  for (std::size_t i = 0; i < codes.size(); ++i) EXPECT_EQ(got[i], linear(codes[i] / 65535.0)) << codes[i];
}

TEST_F(ImageFormatsTest, AsDataCodesStayAsTheyAre) {
  writeCodes<std::uint8_t>("png", path, ImageSpec(1, 1, 3, TypeDesc::UINT8), {0, 51, 255});
  const orvImage* const image = load(path, orvTexture_profile::data);
  EXPECT_THAT(all(*image), ElementsAre(0, FloatEq(0.2f), 1));
  EXPECT_EQ(image->profile(), orvTexture_profile::data);
}

TEST_F(ImageFormatsTest, APngMayNameItsGamma) {
  ImageSpec spec(1, 1, 3, TypeDesc::UINT8);
  spec.attribute("oiio:ColorSpace", "Gamma1.8");
  spec.attribute("oiio:Gamma", 1.8f);
  writeCodes<std::uint8_t>("png", path, spec, {0, 51, 255});
  EXPECT_NEAR(all(*load(path))[1], std::pow(0.2, 1.8), 1e-5);
}

TEST_F(ImageFormatsTest, APngMaySayItIsLinear) {
  ImageSpec spec(1, 1, 3, TypeDesc::UINT8);
  spec.attribute("oiio:ColorSpace", "Linear");
  spec.attribute("oiio:Gamma", 1.0f);
  writeCodes<std::uint8_t>("png", path, spec, {0, 51, 255});
  EXPECT_THAT(all(*load(path)), ElementsAre(0, FloatEq(0.2f), 1));
}

TEST_F(ImageFormatsTest, AlphaOfAPngIsNotEncoded) {
  writeCodes<std::uint8_t>("png", path, ImageSpec(1, 1, 4, TypeDesc::UINT8), {0, 0, 0, 51});
  EXPECT_FLOAT_EQ(alphaAt(*load(path), 0, 0), 0.2f);
}

TEST_F(ImageFormatsTest, StraightColorIsAssociatedAfterItIsLinear) {
  ImageSpec spec(1, 1, 4, TypeDesc::UINT8);
  spec.attribute("oiio:UnassociatedAlpha", 1);
  writeCodes<std::uint8_t>("png", path, spec, {255, 128, 51, 102});
  EXPECT_THAT(pixel(*load(path), 0, 0),
              ElementsAre(FloatEq(0.4f), FloatEq(0.4f * linear(128 / 255.0)), FloatEq(0.4f * linear(0.2))));
}

TEST_F(ImageFormatsTest, AssociatedCodesAreDividedBeforeTheyBecomeLinear) {
  // Colour 0.5 under alpha 0.4, multiplied while encoded: 0.2.
  writeCodes<std::uint8_t>("tiff", path, ImageSpec(1, 1, 4, TypeDesc::UINT8), {51, 51, 51, 102});
  EXPECT_NEAR(pixel(*load(path), 0, 0)[0], 0.4f * linear(0.5), 1e-6);
}

TEST_F(ImageFormatsTest, IntegerTiffIsSrgb) {
  writeCodes<std::uint8_t>("tiff", path, ImageSpec(1, 1, 3, TypeDesc::UINT8), {0, 128, 255});
  EXPECT_THAT(all(*load(path)), ElementsAre(0, linear(128 / 255.0), 1));
  writeCodes<std::uint16_t>("tiff", path, ImageSpec(1, 1, 3, TypeDesc::UINT16), {0, 32768, 65535});
  EXPECT_THAT(all(*load(path)), ElementsAre(0, linear(32768 / 65535.0), 1));
}

TEST_F(ImageFormatsTest, AMissingColorOfCodesIsZero) {
  // A grey TIFF of four samples, of which one is told to be alpha; the image library names them R, A, B, A.
  std::string bytes("II*\0\x08\0\0\0\x0A\0", 10);
  const auto put = [&](std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
  };
  struct Entry {
    std::uint32_t tag, type, count, value;
  };
  constexpr std::uint32_t kShort = 3, kLong = 4, kBits = 134, kPixels = 142;
  for (const Entry& entry : {Entry{256, kShort, 1, 2},
                             {257, kShort, 1, 1},
                             {258, kShort, 4, kBits},
                             {259, kShort, 1, 1},
                             {262, kShort, 1, 1},
                             {273, kLong, 1, kPixels},
                             {277, kShort, 1, 4},
                             {278, kShort, 1, 1},
                             {279, kLong, 1, 16},
                             {338, kShort, 1, 1}}) {
    put(entry.tag, 2);
    put(entry.type, 2);
    put(entry.count, 4);
    put(entry.value, 4);
  }
  put(0, 4);
  for (int i = 0; i < 4; ++i) put(16, 2);
  for (const std::uint32_t code : {65535u, 65535u, 32768u, 20000u, 0u, 65535u, 65535u, 20000u}) put(code, 2);
  writeBytes(path, bytes);
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr) << testing::PrintToString(log.lines());
  EXPECT_THAT(all(*image), ElementsAre(1, 0, linear(32768 / 65535.0), 0, 0, 1));
}

TEST_F(ImageFormatsTest, TiledAndPlanarTiffsAreReadRight) {
  ImageSpec spec(40, 33, 3, TypeDesc::UINT8);
  spec.attribute("planarconfig", "separate");
  spec.tile_width = spec.tile_height = 16;
  std::vector<std::uint8_t> codes(std::size_t{3} * 40 * 33);
  for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<std::uint8_t>(i * 7);
  writeCodes("tiff", path, spec, codes);
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  for (std::size_t i = 0; i < codes.size(); ++i) ASSERT_EQ(image->pixels()[i], linear(codes[i] / 255.0)) << i;
}

TEST_F(ImageFormatsTest, GreyPngBecomesRgb) {
  writeCodes<std::uint8_t>("png", path, ImageSpec(1, 1, 1, TypeDesc::UINT8), {128});
  const float light = linear(128 / 255.0);
  EXPECT_THAT(all(*load(path)), ElementsAre(light, light, light));
}

TEST_F(ImageFormatsTest, AJpegOfOneColorIsThatColor) {
  writeCodes("jpeg", path, ImageSpec(16, 8, 3, TypeDesc::UINT8), std::vector<std::uint8_t>(3 * 16 * 8, 128));
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 16u);
  EXPECT_NEAR(pixel(*image, 5, 5)[0], linear(128 / 255.0), 0.01);
}

TEST_F(ImageFormatsTest, AnImageStoredLyingDownIsTurnedUpright) {
  // A row of red, green and blue whose left end is the image's top: Exif orientation 6.
  ImageSpec spec(3, 1, 3, TypeDesc::UINT8);
  spec.attribute("Orientation", 6);
  writeCodes<std::uint8_t>("tiff", path, spec, {255, 0, 0, 0, 255, 0, 0, 0, 255});
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 1u);
  EXPECT_EQ(image->height(), 3u);
  EXPECT_THAT(all(*image), ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
}

TEST_F(ImageFormatsTest, EachOrientationPutsTheStoredCornerWhereItBelongs) {
  // A stored 3 x 2 image, white at its row 0, column 0. Where that corner stands upright, by TIFF 6.0:
  struct Corner {
    int orientation, width, height, x, y;
  };
  for (const Corner& corner :
       {Corner{1, 3, 2, 0, 0}, Corner{2, 3, 2, 2, 0}, Corner{3, 3, 2, 2, 1}, Corner{4, 3, 2, 0, 1},
        Corner{5, 2, 3, 0, 0}, Corner{6, 2, 3, 1, 0}, Corner{7, 2, 3, 1, 2}, Corner{8, 2, 3, 0, 2}}) {
    ImageSpec spec(3, 2, 1, TypeDesc::UINT8);
    spec.attribute("Orientation", corner.orientation);
    writeCodes<std::uint8_t>("tiff", path, spec, {255, 0, 0, 0, 0, 0});
    const orvImage* const image = load(path, orvTexture_profile::environment, false);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width(), static_cast<unsigned>(corner.width)) << corner.orientation;
    EXPECT_EQ(image->height(), static_cast<unsigned>(corner.height)) << corner.orientation;
    EXPECT_EQ(pixel(*image, corner.x, corner.y)[0], 1.0f) << corner.orientation;
  }
}

TEST_F(ImageFormatsTest, TheFirstBytesChooseTheReaderNotTheName) {
  const std::string misnamed = folder / "really_hdr.png";
  writeImage("hdr", misnamed, floatSpec(1, 1, 3), {1, 2, 4});
  EXPECT_THAT(all(*load(misnamed)), ElementsAre(1, 2, 4));
}

TEST_F(ImageFormatsTest, PixelsThatAreNotFiniteAreReplaced) {
  const orvImage* const image =
      exr(floatSpec(2, 1, 3), {"R", "G", "B"}, {kNaN, kInfinity, -kInfinity, 1, 2, 3});
  EXPECT_THAT(all(*image), ElementsAre(0, 65504, -65504, 1, 2, 3));
}

TEST_F(ImageFormatsTest, OneWarningTellsOfAllPixelsThatAreNotFinite) {
  std::vector<float> values(std::size_t{3} * 100 * 50, 1.0f);
  for (std::size_t i = 0; i < values.size(); i += 100) values[i] = kNaN;
  exr(floatSpec(100, 50, 3), {"R", "G", "B"}, values);
  EXPECT_THAT(log.lines(), ElementsAre(testing::HasSubstr(path + ": 150 of its pixels are not finite")));
}

TEST_F(ImageFormatsTest, AlphaIsFiniteAndWithinItsRange) {
  const orvImage* const image = exr(floatSpec(4, 1, 4), {"R", "G", "B", "A"},
                                    {0, 0, 0, kNaN, 0, 0, 0, kInfinity, 0, 0, 0, -3, 0, 0, 0, 2});
  EXPECT_EQ(alphaAt(*image, 0, 0), 0.0f);
  EXPECT_EQ(alphaAt(*image, 1, 0), 1.0f);
  EXPECT_EQ(alphaAt(*image, 2, 0), 0.0f);
  EXPECT_EQ(alphaAt(*image, 3, 0), 1.0f);
}

TEST_F(ImageFormatsTest, TellsItsPathAndItsBytes) {
  const orvImage* const image = exr(floatSpec(10, 4, 3), {"R", "G", "B"}, counted(120));
  EXPECT_STREQ(image->path(), path.c_str());
  EXPECT_EQ(image->memory(), 120 * sizeof(float));
}

TEST_F(ImageFormatsTest, GetPixelOutsideTheImageReadsItsEdge) {
  const orvImage* const image = exr(floatSpec(2, 2, 3), {"R", "G", "B"}, counted(12));
  EXPECT_EQ(pixel(*image, -1, -2147483647)[0], 1.0f);
  EXPECT_EQ(pixel(*image, 2147483647, 5)[0], 10.0f);
}

}  // namespace
