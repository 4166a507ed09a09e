#include <OpenImageIO/deepdata.h>
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "host/orvMemory.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class ImageErrorsTest : public HostTest {
 protected:
  /// That the image is refused with one line that starts with its path, holds the finding and gives a remedy.
  void expectRefused(const std::string& file, const std::string& finding) {
    EXPECT_EQ(load(file), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre(AllOf(StartsWith(file + ": "), HasSubstr(finding), HasSubstr("; "))));
  }

  /// Noise, so that compressed data are about as long as the pixels.
  static std::vector<float> noise(std::size_t count) {
    std::vector<float> values(count);
    std::uint32_t state = 1;
    for (float& value : values) {
      state = state * 1664525u + 1013904223u;
      value = static_cast<float>(state >> 8) / static_cast<float>(1 << 24);
    }
    return values;
  }

  /// Writes a file with the named writer and cuts it to that part of its length.
  void writeCut(const std::string& writer, const ImageSpec& spec, double part) {
    writeImage(writer, path, spec,
               noise(static_cast<std::size_t>(spec.width * spec.height * spec.nchannels)));
    std::filesystem::resize_file(
        path, static_cast<std::uintmax_t>(static_cast<double>(std::filesystem::file_size(path)) * part));
  }

  const std::string path = folder / "image.exr";
};

TEST_F(ImageErrorsTest, AMissingFile) { expectRefused(folder / "nowhere.exr", "there is no such file"); }

TEST_F(ImageErrorsTest, AMissingFolder) {
  expectRefused(folder / "nowhere/image.exr", "there is no such file");
}

TEST_F(ImageErrorsTest, AFolder) {
  std::filesystem::create_directory(path);
  expectRefused(path, "is a folder");
}

TEST_F(ImageErrorsTest, APipeIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  expectRefused(path, "is not a regular file");
}

TEST_F(ImageErrorsTest, AnEmptyFile) {
  writeBytes(path, "");
  expectRefused(path, "is empty (0 bytes)");
}

TEST_F(ImageErrorsTest, TextNamedExr) {
  writeBytes(path, "this is not a picture\n");
  expectRefused(path, "its first bytes name none of OpenEXR, Radiance HDR, PFM, TIFF, PNG and JPEG");
}

TEST_F(ImageErrorsTest, AFormatThatIsNotRead) {
  writeBytes(path, "GIF89a" + std::string(100, '\0'));
  expectRefused(path, "its first bytes name none of");
}

TEST_F(ImageErrorsTest, NoPath) {
  EXPECT_EQ(orv_image_load(scene(), nullptr, orvTexture_profile::environment, true, nullptr), nullptr);
  EXPECT_EQ(orv_image_load(scene(), "", orvTexture_profile::environment, true, nullptr), nullptr);
  EXPECT_EQ(orv_image_load(nullptr, "a.exr", orvTexture_profile::environment, true, nullptr), nullptr);
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(ImageErrorsTest, OnlyTheSignatureOfEachKind) {
  const std::string signatures[] = {std::string("\x76\x2F\x31\x01", 4),
                                    "#?RADIANCE\n",
                                    "PF\n",
                                    "Pf\n2 2\n",
                                    std::string("II\x2A\0", 4),
                                    std::string("MM\0\x2A", 4),
                                    std::string("\x89PNG\r\n\x1A\n", 8),
                                    std::string("\xFF\xD8\xFF\xE0", 4)};
  for (const std::string& signature : signatures) {
    writeBytes(path, signature);
    EXPECT_EQ(load(path), nullptr) << signature;
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(std::size(signatures)));
  EXPECT_THAT(log.lines(), testing::Each(AllOf(StartsWith(path), HasSubstr("cannot be read as"))));
}

TEST_F(ImageErrorsTest, AnExrThatEndsInItsHeader) {
  writeImage("openexr", path, floatSpec(8, 8, 3), noise(192));
  std::filesystem::resize_file(path, 100);
  expectRefused(path, "cannot be read as OpenEXR");
}

TEST_F(ImageErrorsTest, AnExrWithMissingScanlines) {
  for (const char* compression : {"none", "zip", "piz"}) {
    ImageSpec spec = floatSpec(64, 128, 3);
    spec.attribute("compression", compression);
    writeCut("openexr", spec, 0.7);
    EXPECT_EQ(load(path), nullptr) << compression;
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(3));
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("cannot be read as OpenEXR")));
}

TEST_F(ImageErrorsTest, ATiledExrWithMissingTiles) {
  ImageSpec spec = floatSpec(128, 128, 3);
  spec.tile_width = spec.tile_height = 32;
  writeCut("openexr", spec, 0.7);
  expectRefused(path, "cannot be read as OpenEXR");
}

TEST_F(ImageErrorsTest, AnExrWithAlphaAndMissingScanlines) {
  writeCut("openexr", floatSpec(64, 128, 4), 0.7);
  expectRefused(path, "cannot be read as OpenEXR");
}

TEST_F(ImageErrorsTest, AnExrWithoutColor) {
  ImageSpec spec = floatSpec(4, 4, 2);
  spec.channelnames = {"Z", "id"};
  writeImage("openexr", path, spec, noise(32));
  expectRefused(path, "no part with flat colour channels R, G, B or Y");
}

TEST_F(ImageErrorsTest, ADeepExr) {
  ImageSpec spec = floatSpec(2, 2, 5);
  spec.deep = true;
  spec.channelnames = {"R", "G", "B", "A", "Z"};
  const auto output = OIIO::ImageOutput::create("openexr");
  ASSERT_TRUE(output->open(path, spec));
  OIIO::DeepData data(spec);
  ASSERT_TRUE(output->write_deep_image(data));
  ASSERT_TRUE(output->close());
  expectRefused(path, "no part with flat colour channels");
}

TEST_F(ImageErrorsTest, ACutRadianceFile) {
  writeCut("hdr", floatSpec(64, 64, 3), 0.6);
  expectRefused(path, "cannot be read as Radiance HDR");
}

TEST_F(ImageErrorsTest, ACutPfm) {
  writeBytes(path, pfm("PF\n4 4\n-1.0\n", noise(47)));
  expectRefused(path, "cannot be read as PFM");
}

TEST_F(ImageErrorsTest, ACutTiff) {
  writeCut("tiff", floatSpec(64, 64, 3), 0.6);
  expectRefused(path, "cannot be read as TIFF");
}

TEST_F(ImageErrorsTest, ACutPng) {
  writeCut("png", ImageSpec(64, 64, 3, TypeDesc::UINT8), 0.6);
  expectRefused(path, "cannot be read as PNG");
}

TEST_F(ImageErrorsTest, ACutJpeg) {
  for (const double part : {0.2, 0.6, 0.99}) {
    writeCut("jpeg", ImageSpec(64, 64, 3, TypeDesc::UINT8), part);
    EXPECT_EQ(load(path), nullptr) << part;
  }
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("cannot be read as JPEG")));
}

TEST_F(ImageErrorsTest, ASideAboveTheLimit) {
  // 65537 columns, and not a pixel of them.
  writeBytes(path, "PF\n65537 1\n-1.0\n");
  expectRefused(path, "is 65537 x 1, above the limits of 65536 a side");
}

TEST_F(ImageErrorsTest, MorePixelsThanTheLimit) {
  options.maxImagePixels = 99;
  writeImage("openexr", path, floatSpec(10, 10, 3), noise(300));
  expectRefused(path, "10 x 10, above the limits of 65536 a side and 99 pixels");
}

TEST_F(ImageErrorsTest, ADisplayWindowAboveTheLimit) {
  ImageSpec spec = floatSpec(4, 4, 3);
  spec.full_width = 70000;
  writeImage("openexr", path, spec, noise(48));
  expectRefused(path, "its image is 70000 x 4, above the limits");
}

TEST_F(ImageErrorsTest, TheLargestSideIsTaken) {
  writeImage("hdr", path, floatSpec(65536, 1, 3), std::vector<float>(std::size_t{3} * 65536, 1));
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 65536u);
}

TEST_F(ImageErrorsTest, ASizeOfZero) {
  writeBytes(path, "PF\n0 0\n-1.0\n");
  EXPECT_EQ(load(path), nullptr);
  writeBytes(path, "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 0 +X 0\n");
  EXPECT_EQ(load(path), nullptr);
  EXPECT_THAT(log.lines(), testing::SizeIs(2));
}

TEST_F(ImageErrorsTest, ANegativeSize) {
  writeBytes(path, "PF\n-4 -4\n-1.0\n" + std::string(1000, '\0'));
  EXPECT_EQ(load(path), nullptr);
  EXPECT_THAT(log.lines(), testing::SizeIs(1));
}

TEST_F(ImageErrorsTest, AHeaderThatPromisesGigabytesCostsNone) {
  options.maxImagePixels = std::uint64_t{1} << 29;
  // 20000 x 20000 16-bit pixels in 33 + 12 + 12 bytes; the checksums are right.
  const unsigned char header[] = {0x89, 'P', 'N',  'G',  '\r', '\n', 0x1A, '\n', 0,    0,
                                  0,    13,  'I',  'H',  'D',  'R',  0,    0,    0x4E, 0x20,
                                  0,    0,   0x4E, 0x20, 16,   6,    0,    0,    1};
  std::string bytes(reinterpret_cast<const char*>(header), sizeof header);
  // CRC-32 of the chunk, computed bit by bit.
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 12; i < bytes.size(); ++i) {
    crc ^= static_cast<unsigned char>(bytes[i]);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1u) ? 0xEDB88320u : 0u);
  }
  crc = ~crc;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(crc >> shift & 0xFFu);
  bytes += std::string("\0\0\0\0IDAT\x35\xAF\x06\x1E", 12);
  writeBytes(path, bytes);
  expectRefused(path, "are too few for its size");
}

/// A TIFF file of one strip of ten bytes with that header.
std::string smallTiff(std::uint16_t side, std::uint16_t compression) {
  std::string bytes("II*\0\x12\0\0\0..........", 18);
  const auto add = [&bytes](std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFu);
  };
  const std::pair<std::uint16_t, std::uint32_t> tags[] = {{256, side},        {257, side}, {258, 8},
                                                          {259, compression}, {262, 1},    {273, 8},
                                                          {277, 1},           {278, side}, {279, 10}};
  add(std::size(tags), 2);
  for (const auto& [tag, value] : tags) {
    add(tag, 2);
    add(4, 2);
    add(1, 4);
    add(value, 4);
  }
  add(0, 4);
  return bytes;
}

TEST_F(ImageErrorsTest, ATiffThatClaimsMoreThanItsBytesCanHold) {
  constexpr std::uint16_t kCompressions[] = {1, 5, 7, 8, 32773};
  for (const std::uint16_t compression : kCompressions) {
    writeBytes(path, smallTiff(15000, compression));
    EXPECT_EQ(load(path), nullptr) << compression;
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(5));
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("are too few for its size")));
}

TEST_F(ImageErrorsTest, ARadianceFileThatClaimsMoreThanItsBytesCanHold) {
  for (const char* const size : {"-Y 15000 +X 15000", "-Y 4000 +X 60000", "-Y 60000 +X 4"}) {
    writeBytes(path,
               std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n") + size + "\n" + std::string(100, '\2'));
    EXPECT_EQ(load(path), nullptr) << size;
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(3));
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("are too few for its size")));
}

TEST_F(ImageErrorsTest, AnExrThatClaimsMoreThanItsBytesCanHold) {
  for (const char* const compression :
       {"none", "rle", "zips", "zip", "piz", "pxr24", "b44", "b44a", "dwaa"}) {
    ImageSpec spec = floatSpec(8, 8, 3);
    spec.attribute("compression", compression);
    writeImage("openexr", path, spec, noise(192));
    std::string bytes = readBytes(path);
    for (const std::string window : {"dataWindow", "displayWindow"}) {
      const std::size_t box = bytes.find(window + '\0') + window.size() + 1 + 6 + 4;
      // 15001 columns and rows.
      for (const std::size_t place : {box + 8, box + 12}) bytes.replace(place, 4, "\x98\x3A\0\0", 4);
    }
    writeBytes(path, bytes);
    EXPECT_EQ(load(path), nullptr) << compression;
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(9));
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("cannot be read as OpenEXR")));
}

/// Bytes of memory that the process has touched.
std::size_t residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::size_t all = 0;
  std::size_t resident = 0;
  file >> all >> resident;
  return resident * 4096;
}

TEST_F(ImageErrorsTest, ASmallDataWindowInALargeDisplayWindowCostsLittle) {
  ImageSpec spec = floatSpec(2, 2, 3);
  spec.x = 8000;
  spec.y = 2000;
  spec.full_width = 16000;
  spec.full_height = 4000;
  writeImage("openexr", path, spec, std::vector<float>(12, 1.0f));
  orv_image_set_environment_size(scene(), 64, 32);
  [[maybe_unused]] const std::size_t before = residentBytes();
  const orvImage* const image = load(path);
  ASSERT_NE(image, nullptr);
  ASSERT_NE(image->pixels(), nullptr);
  // Of the display window it would be 768 MB.
#if !defined(__SANITIZE_THREAD__)  // whose notes on memory are resident too
  EXPECT_LT(residentBytes() - before, std::size_t{100} << 20);
#endif
  // Two columns of 250, two rows of 125 next to the equator, where a row's weight is nearly the same for all.
  const float* const pixel = image->pixels() + 3 * (16 * 64 + 32);
  EXPECT_NEAR(pixel[0], 2.0 / 250 * 2 / 125, 5e-7);
  EXPECT_EQ(pixel[3], 0.0f);
  EXPECT_EQ(image->pixels()[0], 0.0f);
}

TEST_F(ImageErrorsTest, AProgressiveJpegWithoutItsLaterScans) {
  ImageSpec spec(64, 64, 3, TypeDesc::UINT8);
  spec.attribute("jpeg:progressive", 1);
  writeImage("jpeg", path, spec, noise(64 * 64 * 3));
  const std::string whole = readBytes(path);
  ASSERT_NE(whole.find("\xFF\xC2"), std::string::npos) << "it is not progressive";
  ASSERT_NE(load(path), nullptr);
  const std::string scan("\xFF\xDA");
  std::size_t scans = 0;
  for (std::size_t at = whole.find(scan); (at = whole.find(scan, at + 1)) != std::string::npos; ++scans) {
    writeBytes(path, whole.substr(0, at) + "\xFF\xD9");
    EXPECT_EQ(load(path), nullptr) << scans;
  }
  EXPECT_GT(scans, 3u);
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("cannot be read as JPEG")));
}

TEST_F(ImageErrorsTest, AJpegWhoseHeaderLiesAboutItsSize) {
  for (const int progressive : {0, 1}) {
    ImageSpec spec(64, 64, 3, TypeDesc::UINT8);
    spec.attribute("jpeg:progressive", progressive);
    writeImage("jpeg", path, spec, noise(64 * 64 * 3));
    const std::string whole = readBytes(path);
    const std::size_t frame = whole.find(progressive ? "\xFF\xC2" : "\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    // Behind the marker stand the length, two bytes, and the precision, one; then the height and the width.
    for (const std::size_t side : {frame + 5, frame + 7}) {
      for (const char* const size : {"\0\x20", "\0\x80", "\x01\0"}) {
        std::string lying = whole;
        lying.replace(side, 2, size, 2);
        writeBytes(path, lying);
        EXPECT_EQ(load(path), nullptr) << progressive << ' ' << side - frame;
      }
    }
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(12));
  EXPECT_THAT(log.lines(), testing::Each(HasSubstr("cannot be read as JPEG")));
}

TEST_F(ImageErrorsTest, ARadianceFileOfXyz) {
  writeBytes(path, "#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n\x80\x80\x80\x81");
  expectRefused(path, "its pixels are CIE XYZ (FORMAT=32-bit_rle_xyze)");
}

TEST_F(ImageErrorsTest, NoMemoryForThePixels) {
  writeImage("openexr", path, floatSpec(8, 8, 3), noise(192));
  scene();
  orv_memory_fail_at(1);
  expectRefused(path, "there is no memory for its 8 x 8 pixels");
}

TEST_F(ImageErrorsTest, NoMemoryForTheAlpha) {
  writeImage("openexr", path, floatSpec(8, 8, 4), noise(256));
  scene();
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  orv_memory_fail_at(2);
  expectRefused(path, "there is no memory for its 8 x 8 pixels");
  EXPECT_EQ(orv_memory_counters().liveBlocks, blocks);
}

TEST_F(ImageErrorsTest, ARefusedFileIsReadOnceItIsRight) {
  writeBytes(path, "");
  EXPECT_EQ(load(path), nullptr);
  writeImage("openexr", path, floatSpec(1, 1, 3), {1, 2, 3});
  EXPECT_NE(load(path), nullptr);
}

TEST_F(ImageErrorsTest, NothingThatIsRefusedKeepsMemory) {
  scene();
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  writeCut("openexr", floatSpec(64, 128, 3), 0.7);
  EXPECT_EQ(load(path), nullptr);
  EXPECT_EQ(orv_memory_counters().liveBlocks, blocks);
}

}  // namespace
