// Environment images at another size than their file's: what users share, and how long it stays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/orvMemory.h"
#include "maps/row_loop.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

constexpr std::uint64_t kFileBytes = 3 * 32 * 16 * sizeof(float);
constexpr std::uint64_t kSmallBytes = 3 * 16 * 8 * sizeof(float);

class ScalingCacheTest : public HostTest {
 protected:
  /// A 32 x 16 image whose columns count from `start`.
  std::string file(const std::string& name, float start = 0) {
    std::vector<float> rgb(3 * 32 * 16);
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = start + static_cast<float>(i / 3 % 32);
    const std::string path = folder / name;
    writeImage("openexr", path, floatSpec(32, 16, 3), rgb);
    return path;
  }
  void setSize(std::uint32_t width, std::uint32_t height) {
    orv_image_set_environment_size(scene(), width, height);
  }
  orvImage* loadAt(const std::string& path, std::uint32_t width, std::uint32_t height) {
    setSize(width, height);
    return load(path);
  }
  void free(orvImage* image, bool discard = false) { orv_image_free(scene(), image, discard); }
  /// Loads, asks for pixels and hands back as a painter does. @return the blocks that this took.
  std::uint64_t paint(const std::string& path, std::uint32_t width, std::uint32_t height) {
    const std::uint64_t blocks = orv_memory_counters().totalBlocks;
    orvImage* const image = loadAt(path, width, height);
    EXPECT_NE(image->pixels(), nullptr);
    orv_image_free_mode(scene(), true, false);
    free(image);
    orv_image_free_mode(scene(), false, false);
    return orv_memory_counters().totalBlocks - blocks;
  }
  std::uint64_t held() const { return orv_memory_counters().liveBlocks - blocksBefore; }
  std::uint64_t heldBytes() const { return orv_memory_counters().liveBytes - bytesBefore; }

  const std::uint64_t blocksBefore = orv_memory_counters().liveBlocks;
  const std::uint64_t bytesBefore = orv_memory_counters().liveBytes;
};

TEST_F(ScalingCacheTest, OfItsOwnSizeAnImageIsItself) {
  const std::string path = file("a.exr");
  const orvImage* const plain = load(path);
  EXPECT_EQ(loadAt(path, 32, 16)->pixels(), plain->pixels());
  EXPECT_EQ(held(), 1u);
}

TEST_F(ScalingCacheTest, NoSizeIsItsOwnSize) {
  const std::string path = file("a.exr");
  loadAt(path, 16, 8);
  for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 8u}, {16u, 0u}})
    EXPECT_EQ(loadAt(path, width, height)->width(), 32u);
}

TEST_F(ScalingCacheTest, PixelsAsStoredKeepTheirSize) {
  setSize(16, 8);
  EXPECT_EQ(load(file("a.exr"), orvTexture_profile::data)->width(), 32u);
}

TEST_F(ScalingCacheTest, TheSizeAppliesToLaterLoadsAlone) {
  const std::string path = file("a.exr");
  const orvImage* const before = load(path);
  const orvImage* const small = loadAt(path, 16, 8);
  setSize(64, 32);
  EXPECT_EQ(before->width(), 32u);
  EXPECT_EQ(small->width(), 16u);
  EXPECT_EQ(pixel(*small, 3, 3)[0], 6.5f);
  EXPECT_EQ(pixel(*before, 3, 3)[0], 3.0f);
}

TEST_F(ScalingCacheTest, UsersOfOneSizeShareItsPixels) {
  const std::string path = file("a.exr");
  const orvImage* const first = loadAt(path, 16, 8);
  const orvImage* const second = load(path);
  EXPECT_NE(first, second);
  EXPECT_EQ(first->pixels(), second->pixels());
  EXPECT_EQ(held(), 2u);
}

TEST_F(ScalingCacheTest, TwoSizesLiveSideBySide) {
  const std::string path = file("a.exr");
  const orvImage* const small = loadAt(path, 16, 8);
  const orvImage* const large = loadAt(path, 64, 16);
  EXPECT_EQ(pixel(*small, 15, 7)[0], 30.5f);
  EXPECT_EQ(pixel(*large, 30, 15)[0], pixel(*large, 30, 0)[0]);
  EXPECT_EQ(small->width(), 16u);
  EXPECT_EQ(large->width(), 64u);
  EXPECT_EQ(large->height(), 16u);
  EXPECT_EQ(held(), 3u);
}

TEST_F(ScalingCacheTest, ScaledPixelsWaitForTheNextUse) {
  const std::string path = file("a.exr");
  EXPECT_GT(paint(path, 16, 8), 0u);
  EXPECT_EQ(paint(path, 16, 8), 0u);
  paint(path, 8, 4);
  EXPECT_EQ(paint(path, 16, 8), 0u);
  EXPECT_EQ(paint(path, 8, 4), 0u);
}

TEST_F(ScalingCacheTest, LookUpsSeeTheFilesPixels) {
  const std::string path = file("a.exr");
  orvImage* const small = loadAt(path, 2, 1);
  setSize(0, 0);
  orvImage* const plain = load(path);
  for (orvImage* image : {small, plain}) image->set_filter_mode(orvFilter_mode::anisotropic);
  EXPECT_EQ(small->mip_levels(), plain->mip_levels());
  for (const float footprint : {0.0f, 0.1f}) {
    orvImage_lookup found{.u = 0.4f, .v = 0.3f, .dsdx = footprint, .dtdy = footprint};
    orvImage_lookup expected = found;
    small->lookup(found);
    plain->lookup(expected);
    EXPECT_THAT(found.rgba, testing::ElementsAreArray(expected.rgba));
    small->lookup_filtered(found);
    plain->lookup_filtered(expected);
    EXPECT_THAT(found.rgba, testing::ElementsAreArray(expected.rgba));
  }
}

TEST_F(ScalingCacheTest, LookUpsScaleNothing) {
  orvImage* const image = loadAt(file("a.exr"), 4096, 2048);
  image->set_filter_mode(orvFilter_mode::bilinear);
  orvImage_lookup lookup;
  image->lookup(lookup);
  EXPECT_EQ(heldBytes(), kFileBytes);
}

TEST_F(ScalingCacheTest, MemoryCountsBoth) {
  const orvImage* const image = loadAt(file("a.exr"), 16, 8);
  EXPECT_EQ(image->memory(), kFileBytes);
  image->pixels();
  EXPECT_EQ(image->memory(), kFileBytes + kSmallBytes);
}

TEST_F(ScalingCacheTest, TheBudgetTakesTheFilesPixelsBeforeTheScaledOnes) {
  options.imageCacheBytes = kSmallBytes;
  const std::string path = file("a.exr");
  const orvImage* const image = loadAt(path, 16, 8);
  const float* const pixels = image->pixels();
  EXPECT_EQ(heldBytes(), kSmallBytes);
  // The next user of the size needs no file.
  EXPECT_EQ(paint(path, 16, 8), 0u);
  EXPECT_EQ(image->pixels(), pixels);
  // A look-up does, and gets it.
  orvImage_lookup lookup;
  lookup.u = 0.5f / 32;
  image->lookup(lookup);
  EXPECT_EQ(lookup.rgba[0], 0.0f);
  EXPECT_EQ(heldBytes(), kSmallBytes + kFileBytes);
}

TEST_F(ScalingCacheTest, TheBudgetTakesOldSizesFirst) {
  options.imageCacheBytes = kFileBytes + 2 * kSmallBytes;
  const std::string path = file("a.exr");
  paint(path, 16, 8);
  paint(path, 8, 16);
  paint(path, 4, 32);
  EXPECT_EQ(heldBytes(), kFileBytes + 2 * kSmallBytes);
  EXPECT_EQ(paint(path, 8, 16), 0u);
  EXPECT_EQ(paint(path, 4, 32), 0u);
  EXPECT_EQ(paint(path, 16, 8), 1u);
}

TEST_F(ScalingCacheTest, WithoutABudgetNothingWaits) {
  options.imageCacheBytes = 0;
  const std::string path = file("a.exr");
  orvImage* const image = loadAt(path, 16, 8);
  image->pixels();
  EXPECT_EQ(heldBytes(), kSmallBytes);
  free(image);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ScalingCacheTest, AChangedFileIsScaledAnew) {
  const std::string path = file("a.exr");
  orvImage* const old = loadAt(path, 16, 8);
  EXPECT_EQ(pixel(*old, 0, 0)[0], 0.5f);
  file("a.exr", 100);
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(5));
  EXPECT_EQ(pixel(*load(path), 0, 0)[0], 100.5f);
  EXPECT_EQ(pixel(*old, 0, 0)[0], 0.5f);
}

TEST_F(ScalingCacheTest, DiscardingDropsScaledPixels) {
  orvImage* const image = loadAt(file("a.exr"), 16, 8);
  image->pixels();
  free(image, true);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ScalingCacheTest, ADiscardedSizeGoesThoughAnotherIsInUse) {
  const std::string path = file("a.exr");
  orvImage* const small = loadAt(path, 16, 8);
  orvImage* const large = loadAt(path, 64, 32);
  small->pixels();
  large->pixels();
  free(small, true);
  EXPECT_EQ(held(), 2u);
  EXPECT_GT(pixel(*large, 62, 31)[0], 29.0f);
  free(large);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ScalingCacheTest, DiscardingAllKeepsScaledPixelsThatAreAskedFor) {
  const std::string path = file("a.exr");
  const orvImage* const asked = loadAt(path, 16, 8);
  const float* const pixels = asked->pixels();
  paint(path, 8, 4);
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(heldBytes(), kSmallBytes);
  EXPECT_EQ(asked->pixels(), pixels);
}

TEST_F(ScalingCacheTest, ScaledPixelsAreMadeOfPixelsReadAgain) {
  const orvImage* const image = loadAt(file("a.exr"), 16, 8);
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(held(), 0u);
  EXPECT_EQ(pixel(*image, 1, 1)[0], 2.5f);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(ScalingCacheTest, ScaledPixelsOfAFileThatIsGoneAreBlackAndTold) {
  const std::string path = file("a.exr");
  const orvImage* const image = loadAt(path, 16, 8);
  orv_image_free_mode(scene(), false, true);
  std::filesystem::remove(path);
  EXPECT_EQ(pixel(*image, 1, 1)[0], 0.0f);
  EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("there is no such file")));
}

TEST_F(ScalingCacheTest, WithoutMemoryToScaleSinglePixelsAreTaken) {
  const std::string path = file("a.exr");
  const orvImage* const image = loadAt(path, 16, 8);
  orv_memory_fail_at(1);
  EXPECT_EQ(image->pixels(), nullptr);
  EXPECT_EQ(image->pixels(), nullptr);
  EXPECT_EQ(pixel(*image, 0, 0)[0], 0.0f);
  EXPECT_EQ(pixel(*image, 7, 7)[0], 14.0f);
  EXPECT_EQ(pixel(*image, 99, 99)[0], 30.0f);
  EXPECT_THAT(log.lines(),
              testing::ElementsAre(testing::HasSubstr(path + ": there is no memory to scale it")));
  // The next user tries anew.
  EXPECT_NE(load(path)->pixels(), nullptr);
}

TEST_F(ScalingCacheTest, ASizeBeyondTheLimitsIsToldAndNone) {
  options.maxImageSide = 100;
  options.maxEnvironmentPixels = 5000;
  const std::string path = file("a.exr");
  for (const auto& [width, height] : {std::pair{101u, 2u}, {2u, 101u}, {100u, 51u}, {~0u, ~0u}}) {
    loadAt(path, 16, 8);
    EXPECT_EQ(loadAt(path, width, height)->width(), 32u);
  }
  EXPECT_THAT(log.lines(), testing::SizeIs(4));
  EXPECT_THAT(log.lines(),
              testing::Each(testing::HasSubstr("above the limits of 100 a side and 5000 pixels")));
  EXPECT_EQ(loadAt(path, 100, 50)->width(), 100u);
}

TEST_F(ScalingCacheTest, WithoutASceneNothingHappens) {
  orv_image_set_environment_size(nullptr, 16, 8);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(ScalingCacheTest, ManyThreadsAskAtOnce) {
  options.imageCacheBytes = 0;
  const std::string path = file("a.exr");
  for (int round = 0; round < 20; ++round) {
    orvImage* const small = loadAt(path, 16, 8);
    orvImage* const smallToo = load(path);
    orvImage* const tiny = loadAt(path, 8, 4);
    orv_image_free_mode(scene(), false, true);
    orv::forEachRow(64, 1, [&](std::uint32_t i) {
      const int x = static_cast<int>(i % 8);
      EXPECT_EQ(pixel(i % 3 ? *small : *smallToo, x, 0)[0], 2 * static_cast<float>(x) + 0.5f);
      EXPECT_EQ(pixel(*tiny, x, 0)[0], 4 * static_cast<float>(x) + 1.5f);
      orvImage_lookup lookup;
      lookup.u = (static_cast<float>(x) + 0.5f) / 32;
      tiny->lookup(lookup);
      EXPECT_FLOAT_EQ(lookup.rgba[0], static_cast<float>(x));
    });
    for (orvImage* image : {small, smallToo, tiny}) free(image);
    EXPECT_EQ(held(), 0u);
  }
}

}  // namespace
