#include "scene/map_file.h"

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

#include "scene/SceneErrors.h"
#include "scene/tone_map.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// 300 rows, so that a map is handed over in more than one go; values from tiny to those of a sun.
hdri::EnvImage testMap() {
  hdri::EnvImage map(13, 300);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    const auto x = static_cast<float>(i);
    map.pixels[i] = {std::exp2(std::fmod(x, 37.0f) - 18.0f), x * 0.001f, 3e5f / (x + 1.0f)};
  }
  return map;
}

class MapFileTest : public testing::Test {
 protected:
  MapFileTest() : folder_(fs::path(testing::TempDir()) / ("orv_map_" + std::to_string(::getpid()))) {
    fs::create_directory(folder_);
  }
  ~MapFileTest() override { fs::remove_all(folder_); }

  std::string save(const hdri::EnvImage& map, const std::string& name, MapFileOptions options = {}) {
    const std::string path = (folder_ / name).string();
    OutputFile file(path);
    options.software = "tester 1.2";
    writeMap(map, file, *mapFormatOf(path), options);
    file.commit();
    return path;
  }

  static std::string bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  struct Picture {
    OIIO::ImageSpec header;
    std::vector<float> pixels;
  };
  static Picture load(const std::string& path) {
    const auto input = OIIO::ImageInput::open(path);
    EXPECT_TRUE(input) << OIIO::geterror();
    if (!input) return {};
    Picture picture{input->spec(), std::vector<float>(input->spec().image_pixels() * 3)};
    EXPECT_TRUE(input->read_image(0, 0, 0, 3, OIIO::TypeFloat, picture.pixels.data())) << input->geterror();
    return picture;
  }
  static bool sameBits(const Picture& picture, const hdri::EnvImage& map) {
    return picture.pixels.size() == map.pixels.size() * 3 &&
           std::memcmp(picture.pixels.data(), map.pixels.data(), map.pixels.size() * sizeof(hdri::Rgb)) == 0;
  }

  fs::path folder_;
};

std::string_view formatOf(std::string_view path) {
  const MapFormat* format = mapFormatOf(path);
  return format ? format->name : "none";
}

TEST(MapFormatOf, LooksAtTheEndingInAnyCase) {
  EXPECT_EQ(formatOf("a.exr"), "EXR");
  EXPECT_EQ(formatOf("a.EXR"), "EXR");
  EXPECT_EQ(formatOf("x/a.b.tiff"), "TIFF");
  EXPECT_EQ(formatOf("a.tif"), "TIFF");
  EXPECT_EQ(formatOf("a.jpeg"), "JPEG");
  EXPECT_EQ(formatOf(".hdr"), "HDR");
  for (const char* path : {"a", "a.", ".", "a.exr/b", "a.gif", ""}) EXPECT_EQ(formatOf(path), "none") << path;
}

TEST(MapFormats, HaveEndingsOfTheirOwn) {
  const std::vector<std::string_view> endings = mapEndings();
  EXPECT_EQ(std::set<std::string_view>(endings.begin(), endings.end()).size(), endings.size());
  for (const MapFormat& format : mapFormats()) EXPECT_EQ(formatOf(format.endings[0]), format.name);
}

TEST_F(MapFileTest, ExrKeepsEveryBit) { EXPECT_TRUE(sameBits(load(save(testMap(), "a.exr")), testMap())); }

TEST_F(MapFileTest, ExrIsFloatAndZipCompressed) {
  const OIIO::ImageSpec header = load(save(testMap(), "a.exr")).header;
  EXPECT_EQ(header.format, OIIO::TypeFloat);
  EXPECT_EQ(header.get_string_attribute("compression"), "zip");
  EXPECT_THAT(header.channelnames, ElementsAre("R", "G", "B"));
}

TEST_F(MapFileTest, ExrTellsOrientationAndPrimariesAndHasNoEnvmap) {
  const OIIO::ImageSpec header = load(save(testMap(), "a.exr")).header;
  EXPECT_EQ(header.get_string_attribute("orv:projection"), "latlong");
  EXPECT_EQ(header.get_string_attribute("orv:orientation"),
            "centre +x, zenith +z, longitudes grow to the right");
  EXPECT_EQ(header.get_string_attribute("Software"), "tester 1.2");
  EXPECT_EQ(header.find_attribute("envmap"), nullptr);
  EXPECT_EQ(bytes((folder_ / "a.exr").string()).find("envmap"), std::string::npos);
  const OIIO::ParamValue* primaries = header.find_attribute("chromaticities");
  ASSERT_NE(primaries, nullptr);
  const auto* xy = static_cast<const float*>(primaries->data());
  EXPECT_THAT(std::vector<float>(xy, xy + 8),
              ElementsAre(0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f));
}

TEST_F(MapFileTest, ExrTellsItsLayoutAndIsAnEnvmapWhereOpenExrWouldReadItSo) {
  const hdri::EnvImage twoToOne(32, 16);
  for (const char* compression : {"zip", "dwaa"}) {
    const MapFileOptions openexr{.compression = compression, .layout = Layout::openexr};
    const OIIO::ImageSpec header = load(save(twoToOne, "a.exr", openexr)).header;
    EXPECT_EQ(header.get_string_attribute("textureformat"), "LatLong Environment");
    EXPECT_THAT(std::string(header.get_string_attribute("orv:orientation")), StartsWith("openexr: "));
    EXPECT_EQ(bytes(save(testMap(), "b.exr", openexr)).find("envmap"), std::string::npos) << "13 x 300";
    const MapFileOptions usd{.compression = compression, .layout = Layout::usd};
    EXPECT_EQ(bytes(save(twoToOne, "c.exr", usd)).find("envmap"), std::string::npos);
  }
}

TEST_F(MapFileTest, EachExrCompressionThatLosesNothingKeepsEveryBit) {
  for (const char* compression : {"none", "rle", "zips", "zip", "piz"}) {
    const Picture picture = load(save(testMap(), "a.exr", {.compression = compression}));
    EXPECT_EQ(picture.header.get_string_attribute("compression"), compression);
    EXPECT_TRUE(sameBits(picture, testMap())) << compression;
  }
}

TEST_F(MapFileTest, ALargeExrOfNoiseStoresEverySecondByteAndKeepsEveryBit) {
  hdri::EnvImage map(768, 1030);
  std::mt19937 random(1);
  const auto noisy = [&](std::size_t slow) {
    return std::bit_cast<float>(0x3F800000u | (static_cast<std::uint32_t>(slow) & 0xFF) << 8 |
                                (static_cast<std::uint32_t>(random()) & 0x7F00FF));
  };
  for (std::size_t i = 0; i < map.pixels.size(); ++i)
    map.pixels[i] = {noisy(i / 100), noisy(i / 200), noisy(i / 300)};
  // A zlib stream's two bytes (RFC 1950), then a stored block that is not the last, its length and the
  // length's complement (RFC 1951): at most 65,535 of the 16 * 768 * 12 / 2 bytes at even places, or all of a
  // row's.
  const std::string ofSixteenRows("\x78\x01\0\xFF\xFF\0\0", 7), ofARow("\x78\x01\0\0\x12\xFF\xED", 7);
  for (const auto& [compression, begin] : {std::pair{"zip", ofSixteenRows}, {"zips", ofARow}}) {
    const std::string path = save(map, "a.exr", {.compression = compression});
    EXPECT_TRUE(sameBits(load(path), map)) << compression;
    EXPECT_NE(bytes(path).find(begin), std::string::npos) << compression;
    EXPECT_LT(bytes(path).size(), 12 * map.pixels.size() * 2 / 3) << compression;
  }
}

TEST_F(MapFileTest, ALargeExrOfSlowChangesIsDeflatedWhole) {
  hdri::EnvImage map(128, 1100);
  for (std::size_t i = 0; i < map.pixels.size(); ++i)
    map.pixels[i] = {static_cast<float>(i / 500), static_cast<float>(i % 128), 0.5f};
  for (const char* compression : {"zip", "zips"}) {
    const std::string path = save(map, "a.exr", {.compression = compression});
    EXPECT_TRUE(sameBits(load(path), map)) << compression;
    EXPECT_LT(bytes(path).size(), 3 * map.pixels.size()) << compression;
  }
}

TEST_F(MapFileTest, HalfExrHoldsTheNearestHalves) {
  hdri::EnvImage map(37, 70);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    const auto x = static_cast<float>(i);
    map.pixels[i] = {x, x / 1024, 0.1f};
  }
  for (const char* compression : {"none", "rle", "zips", "zip", "piz", "pxr24"}) {
    const Picture picture = load(save(map, "a.exr", {.compression = compression, .half = true}));
    EXPECT_EQ(picture.header.format, OIIO::TypeHalf);
    ASSERT_EQ(picture.pixels.size(), map.pixels.size() * 3);
    for (std::size_t i = 0; i < map.pixels.size(); ++i) {
      // Above 2048 halves are even numbers; ties go to multiples of four.
      const double x = static_cast<double>(i);
      const double red = i <= 2048 ? x : 2 * std::nearbyint(x / 2);
      ASSERT_EQ(static_cast<double>(picture.pixels[3 * i]), red) << compression;
      ASSERT_EQ(static_cast<double>(picture.pixels[3 * i + 1]), red / 1024) << compression;
      // 0.1 is 1638.4 / 16384.
      ASSERT_EQ(picture.pixels[3 * i + 2], 1638.0f / 16384) << compression;
    }
  }
}

TEST_F(MapFileTest, ExrIsNearTheMapInEachCompressionThatLoses) {
  hdri::EnvImage map(64, 300);
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    const float x = 0.5f + 0.25f * std::sin(static_cast<float>(i) * 0.01f);
    map.pixels[i] = {x, 1 - x, 2 * x};
  }
  for (const char* compression : {"pxr24", "b44", "b44a", "dwaa", "dwab"}) {
    for (const bool half : {false, true}) {
      const Picture picture = load(save(map, "a.exr", {.compression = compression, .half = half}));
      EXPECT_EQ(picture.header.get_string_attribute("compression"), compression);
      EXPECT_EQ(picture.header.get_string_attribute("Software"), "tester 1.2");
      ASSERT_EQ(picture.pixels.size(), map.pixels.size() * 3);
      for (std::size_t i = 0; i < map.pixels.size(); ++i) {
        ASSERT_NEAR(picture.pixels[3 * i], map.pixels[i].r, 0.05f) << compression;
        ASSERT_NEAR(picture.pixels[3 * i + 1], map.pixels[i].g, 0.05f) << compression;
        ASSERT_NEAR(picture.pixels[3 * i + 2], map.pixels[i].b, 0.05f) << compression;
      }
    }
  }
}

TEST_F(MapFileTest, ExrOfNoiseIsNoLargerThanStored) {
  hdri::EnvImage map(64, 64);
  std::uint32_t state = 1;
  for (hdri::Rgb& pixel : map.pixels) {
    for (float* value : {&pixel.r, &pixel.g, &pixel.b}) {
      state = state * 1664525u + 1013904223u;
      *value = std::ldexp(static_cast<float>(state >> 8), static_cast<int>(state % 100) - 50);
    }
  }
  const std::size_t stored = bytes(save(map, "a.exr", {.compression = "none"})).size();
  EXPECT_LE(bytes(save(map, "a.exr", {.compression = "zip"})).size(), stored);
  EXPECT_TRUE(sameBits(load((folder_ / "a.exr").string()), map));
}

TEST_F(MapFileTest, EachTiffCompressionKeepsEveryBit) {
  for (const char* compression : {"none", "lzw", "packbits", "zip"}) {
    const Picture picture = load(save(testMap(), "a.tif", {.compression = compression}));
    EXPECT_EQ(picture.header.format, OIIO::TypeFloat);
    EXPECT_TRUE(sameBits(picture, testMap())) << compression;
  }
}

TEST_F(MapFileTest, PfmHoldsTheRowsFromTheBottom) {
  hdri::EnvImage map(1, 2);
  map.pixels[0] = {1, 2, 3};
  map.pixels[1] = {4, 5, 6};
  const std::string text = bytes(save(map, "a.pfm"));
  const std::string header = "PF\n1 2\n-1.0\n";
  ASSERT_EQ(text.size(), header.size() + 24);
  EXPECT_EQ(text.substr(0, header.size()), header);
  float values[6];
  std::memcpy(values, text.data() + header.size(), sizeof values);
  EXPECT_THAT(values, ElementsAre(4, 5, 6, 1, 2, 3));
}

TEST_F(MapFileTest, HdrIsExactToItsSharedExponent) {
  hdri::EnvImage map(16, 3);
  for (std::size_t i = 0; i < map.pixels.size(); ++i)
    map.pixels[i] = {1000.0f, 500.0f, static_cast<float>(i)};
  const Picture picture = load(save(map, "a.hdr"));
  ASSERT_EQ(picture.pixels.size(), map.pixels.size() * 3);
  // Eight bits of mantissa for the largest channel: steps of 1024 / 256.
  for (std::size_t i = 0; i < map.pixels.size(); ++i) {
    EXPECT_NEAR(picture.pixels[3 * i], map.pixels[i].r, 4.0f);
    EXPECT_NEAR(picture.pixels[3 * i + 1], map.pixels[i].g, 4.0f);
    EXPECT_NEAR(picture.pixels[3 * i + 2], map.pixels[i].b, 4.0f);
  }
}

TEST_F(MapFileTest, PngIsTheToneMappedPicture) {
  const hdri::EnvImage map = testMap();
  const auto expected = toneMap(map, 1.5f);
  const Picture picture = load(save(map, "a.png", {.exposureStops = 1.5f}));
  EXPECT_EQ(picture.header.format, OIIO::TypeUInt8);
  EXPECT_EQ(picture.header.get_string_attribute("oiio:ColorSpace"), "sRGB");
  ASSERT_EQ(picture.pixels.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i)
    ASSERT_EQ(std::lround(picture.pixels[i] * 255.0f), expected[i]) << i;
}

TEST_F(MapFileTest, HalvesAreLimitedToTheLargestHalf) {
  hdri::EnvImage map(2, 1);
  map.pixels[0] = {65504, 65536, 1e30f};
  map.pixels[1] = {-1e6f, 0.5f, 65519};
  for (const char* compression : {"zip", "none", "piz"}) {
    const Picture picture = load(save(map, "a.exr", {.compression = compression, .half = true}));
    EXPECT_EQ(picture.header.format, OIIO::TypeHalf);
    EXPECT_THAT(picture.pixels, ElementsAre(65504, 65504, 65504, -65504, 0.5f, 65504)) << compression;
  }
}

TEST_F(MapFileTest, TellsWhatHalvesLose) {
  hdri::EnvImage map(2, 1);
  map.pixels[0] = {131008, 0, 0};
  map.pixels[1] = {65504, 65504, 65504};
  OutputFile file((folder_ / "a.exr").string());
  const ClampLoss loss = writeMap(map, file, *mapFormatOf("a.exr"), {.half = true});
  EXPECT_EQ(loss.pixels, 1);
  EXPECT_EQ(loss.largest, 131008.0f);
  // One of five times 65504.
  EXPECT_NEAR(loss.lightShare, 0.2, 1e-12);
}

TEST_F(MapFileTest, ALimitHoldsForEveryFormat) {
  hdri::EnvImage map(16, 2);
  for (hdri::Rgb& pixel : map.pixels) pixel = {100, 2, 1};
  for (const char* name : {"a.exr", "a.hdr", "a.pfm", "a.tif"})
    EXPECT_EQ(load(save(map, name, {.limit = 4.0f})).pixels[0], 4.0f) << name;
}

TEST_F(MapFileTest, WithoutALimitEveryValueIsKept) {
  hdri::EnvImage map(1, 1);
  map.pixels[0] = {1e30f, -1e30f, 65505};
  EXPECT_TRUE(sameBits(load(save(map, "a.exr")), map));
}

TEST_F(MapFileTest, JpegIsNearTheToneMappedPicture) {
  hdri::EnvImage map(32, 16);
  for (hdri::Rgb& pixel : map.pixels) pixel = {0.18f, 0.18f, 0.18f};
  const Picture picture = load(save(map, "a.jpg"));
  for (const float value : picture.pixels) EXPECT_NEAR(value * 255.0f, 117.6f, 2.0f);
}

TEST_F(MapFileTest, EqualMapsGiveEqualFiles) {
  for (const char* name : {"a.exr", "a.hdr", "a.pfm", "a.tif", "a.png", "a.jpg"}) {
    const std::string first = bytes(save(testMap(), name));
    EXPECT_EQ(bytes(save(testMap(), name)), first) << name;
    EXPECT_EQ(first.find("DateTime"), std::string::npos) << name;
  }
}

TEST_F(MapFileTest, ProgressEndsAtOne) {
  for (const char* name : {"a.exr", "a.pfm", "a.png"}) {
    float last = 0;
    save(testMap(), name, {.progress = [&](float amount) {
           EXPECT_GT(amount, last);
           last = amount;
         }});
    EXPECT_EQ(last, 1.0f) << name;
  }
}

TEST_F(MapFileTest, ASizeThatTheFormatCannotHoldIsNamed) {
  const hdri::EnvImage map(65536, 1);
  OutputFile file((folder_ / "a.jpg").string());
  try {
    writeMap(map, file, *mapFormatOf("a.jpg"), {});
    FAIL();
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), HasSubstr("a.jpg: cannot be written: 65536 x 1 pixels; a JPEG file has at most "
                                        "65500 a side"));
  }
}

TEST_F(MapFileTest, AFullDeviceIsNamedForEveryFormat) {
  for (const std::string_view ending : mapEndings()) {
    const fs::path link = folder_ / ("full" + std::string(ending));
    fs::create_symlink("/dev/full", link);
    OutputFile file(link.string());
    writeMap(testMap(), file, *mapFormatOf(link.string()), {});
    EXPECT_THROW(file.commit(), FileError) << ending;
  }
}

}  // namespace
}  // namespace orv::scene
