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

constexpr std::uint64_t kImageBytes = 3 * 16 * 16 * sizeof(float);

class ImageCacheTest : public HostTest {
 protected:
  /// A 16 x 16 image of one value.
  std::string file(const std::string& name, float value) {
    const std::string path = folder / name;
    writeImage("openexr", path, floatSpec(16, 16, 3), std::vector<float>(3 * 16 * 16, value));
    return path;
  }
  /// Blocks of the images that the scene holds.
  std::uint64_t held() const { return orv_memory_counters().liveBlocks - blocksBefore; }
  void free(orvImage* image, bool discard = false) { orv_image_free(scene(), image, discard); }
  /// Loads and hands back as a painter does.
  void use(const std::string& path) {
    orvImage* const image = load(path);
    orv_image_free_mode(scene(), true, false);
    free(image);
    orv_image_free_mode(scene(), false, false);
  }
  /// Whether the image comes from the cache: then nothing is allocated for it.
  bool isCached(const std::string& path) {
    const std::uint64_t blocks = orv_memory_counters().totalBlocks;
    free(load(path));
    return orv_memory_counters().totalBlocks == blocks;
  }

  const std::uint64_t blocksBefore = orv_memory_counters().liveBlocks;
};

TEST_F(ImageCacheTest, TwoUsersShareOneImagesPixels) {
  const std::string path = file("a.exr", 1);
  const orvImage* const first = load(path);
  EXPECT_EQ(load(path)->pixels(), first->pixels());
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, WithoutCachingEachUserGetsItsOwn) {
  const std::string path = file("a.exr", 1);
  orvImage* const cached = load(path);
  orvImage* const own = load(path, orvTexture_profile::environment, false);
  EXPECT_NE(own->pixels(), cached->pixels());
  free(own);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, ProfilesAreKeptApart) {
  const std::string path = file("a.exr", 1);
  EXPECT_NE(load(path, orvTexture_profile::data)->pixels(), load(path)->pixels());
}

TEST_F(ImageCacheTest, AnImageHandedBackWaitsForTheNextUse) {
  const std::string path = file("a.exr", 1);
  use(path);
  EXPECT_EQ(held(), 1u);
  EXPECT_TRUE(isCached(path));
}

TEST_F(ImageCacheTest, AFileWrittenAnewIsReadAnew) {
  const std::string path = file("a.exr", 1);
  use(path);
  file("a.exr", 2);
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(5));
  orvImage* const image = load(path);
  EXPECT_EQ(pixel(*image, 0, 0)[0], 2.0f);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, ATouchedFileIsReadAnew) {
  const std::string path = file("a.exr", 1);
  use(path);
  std::filesystem::last_write_time(path,
                                   std::filesystem::last_write_time(path) + std::chrono::nanoseconds(1));
  EXPECT_FALSE(isCached(path));
}

TEST_F(ImageCacheTest, AUserKeepsTheOldImageOfAChangedFile) {
  const std::string path = file("a.exr", 1);
  orvImage* const old = load(path);
  file("a.exr", 2);
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(5));
  orvImage* const fresh = load(path);
  EXPECT_EQ(pixel(*old, 0, 0)[0], 1.0f);
  EXPECT_EQ(pixel(*fresh, 0, 0)[0], 2.0f);
  free(old);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, DiscardingDropsTheImage) {
  const std::string path = file("a.exr", 1);
  free(load(path), true);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ImageCacheTest, ADiscardedImageLivesAsLongAsItsOtherUser) {
  const std::string path = file("a.exr", 1);
  orvImage* const other = load(path);
  EXPECT_EQ(pixel(*other, 3, 3)[0], 1.0f);
  free(load(path), true);
  EXPECT_EQ(pixel(*other, 3, 3)[0], 1.0f);
  EXPECT_FALSE(isCached(path));
  free(other);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, TheBudgetDropsTheLeastRecentlyUsed) {
  options.imageCacheBytes = 2 * kImageBytes;
  const std::string a = file("a.exr", 1);
  const std::string b = file("b.exr", 2);
  const std::string c = file("c.exr", 3);
  use(a);
  use(b);
  use(a);
  use(c);
  EXPECT_EQ(held(), 2u);
  EXPECT_TRUE(isCached(a));
  EXPECT_TRUE(isCached(c));
}

TEST_F(ImageCacheTest, ImagesInUseAreNotDropped) {
  options.imageCacheBytes = 0;
  orvImage* const a = load(file("a.exr", 1));
  const float* const pixelsOfA = a->pixels();
  orvImage* const b = load(file("b.exr", 2));
  EXPECT_EQ(pixel(*b, 0, 0)[0], 2.0f);
  EXPECT_EQ(a->pixels(), pixelsOfA);
  EXPECT_EQ(held(), 2u);
  free(a);
  EXPECT_EQ(held(), 1u);
  free(b);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ImageCacheTest, ImagesFreedToBeKeptStayUntilTheClosingCall) {
  options.imageCacheBytes = 0;
  orvImage* const a = load(file("a.exr", 1));
  orv_image_free_mode(scene(), true, false);
  free(a);
  EXPECT_EQ(held(), 1u);
  orv_image_free_mode(scene(), false, false);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ImageCacheTest, ImagesFreedToBeKeptOutliveOthers) {
  options.imageCacheBytes = kImageBytes;
  const std::string a = file("a.exr", 1);
  use(a);
  free(load(file("b.exr", 2)));
  // Loading b dropped a, which nobody used; b is kept until the next one comes.
  EXPECT_EQ(held(), 1u);
  use(a);
  EXPECT_TRUE(isCached(a));
}

TEST_F(ImageCacheTest, DiscardingAllEmptiesTheCache) {
  const std::string used = file("used.exr", 1);
  use(file("a.exr", 1));
  use(file("b.exr", 2));
  orvImage* const image = load(used);
  const float* const pixels = image->pixels();
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(held(), 1u);
  EXPECT_EQ(image->pixels(), pixels);
  EXPECT_FALSE(isCached(used));
}

TEST_F(ImageCacheTest, TheSceneTakesItsImagesWithIt) {
  orvScene* const other = orv_scene_create({});
  const std::string path = file("a.exr", 1);
  orv_image_load(other, path.c_str(), orvTexture_profile::environment, true, nullptr);
  EXPECT_EQ(held(), 1u);
  orv_scene_destroy(other);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ImageCacheTest, HandingBackTwiceIsToldAndHarmless) {
  const std::string path = file("a.exr", 1);
  orvImage* const image = load(path);
  free(image);
  free(image);
  EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("handed back that nobody uses")));
  EXPECT_TRUE(isCached(path));
}

TEST_F(ImageCacheTest, FreeingNullDoesNothing) {
  free(nullptr);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

// A user that asks for the size alone and never hands its image back, as for the size of a map.
class ImageSizeTest : public ImageCacheTest {
 protected:
  const orvImage* askSize(const std::string& path) {
    const orvImage* const image = load(path);
    EXPECT_EQ(image->width(), 16u);
    EXPECT_EQ(image->height(), 16u);
    EXPECT_FALSE(image->has_alpha());
    EXPECT_EQ(image->path(), path);
    EXPECT_EQ(image->profile(), orvTexture_profile::environment);
    EXPECT_EQ(image->mip_levels(), 5u);
    return image;
  }
};

TEST_F(ImageSizeTest, TheBudgetTakesPixelsThatNobodyAskedFor) {
  options.imageCacheBytes = 2 * kImageBytes;
  for (int i = 0; i < 10; ++i) askSize(file("image" + std::to_string(i) + ".exr", 1));
  EXPECT_EQ(held(), 2u);
}

TEST_F(ImageSizeTest, DiscardingAllTakesPixelsThatNobodyAskedFor) {
  const orvImage* const image = askSize(file("a.exr", 1));
  EXPECT_EQ(image->memory(), kImageBytes);
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(held(), 0u);
  EXPECT_EQ(image->memory(), 0u);
  EXPECT_EQ(image->width(), 16u);
}

TEST_F(ImageSizeTest, ThePixelsServeTheNextUser) {
  const std::string path = file("a.exr", 1);
  askSize(path);
  EXPECT_TRUE(isCached(path));
}

TEST_F(ImageSizeTest, ThePixelsGoOnceTheirOtherUserIsDone) {
  options.imageCacheBytes = 0;
  const std::string path = file("a.exr", 1);
  askSize(path);
  orvImage* const background = load(path);
  EXPECT_EQ(pixel(*background, 0, 0)[0], 1.0f);
  askSize(file("b.exr", 2));
  EXPECT_EQ(held(), 2u);
  free(background);
  EXPECT_EQ(held(), 0u);
}

TEST_F(ImageSizeTest, UnusedImagesGoFirst) {
  options.imageCacheBytes = 2 * kImageBytes;
  const std::string sized = file("sized.exr", 1), unused = file("unused.exr", 2);
  askSize(sized);
  use(unused);
  askSize(file("c.exr", 3));
  EXPECT_TRUE(isCached(sized));
  EXPECT_FALSE(isCached(unused));
}

TEST_F(ImageSizeTest, WhoAsksLaterGetsThePixelsReadAgain) {
  const orvImage* const image = askSize(file("a.exr", 3));
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(pixel(*image, 15, 15), (std::vector<float>{3, 3, 3}));
  EXPECT_EQ(image->memory(), kImageBytes);
  // Now they are asked for and stay.
  const float* const pixels = image->pixels();
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(image->pixels(), pixels);
  EXPECT_EQ(held(), 1u);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(ImageSizeTest, AFilterIsMadeOfPixelsReadAgain) {
  orvImage* const image = load(file("a.exr", 3));
  orv_image_free_mode(scene(), false, true);
  image->set_filter_mode(orvFilter_mode::anisotropic);
  orvImage_lookup lookup;
  lookup.u = lookup.v = 0.5f;
  lookup.dsdx = lookup.dtdy = 1;
  image->lookup_filtered(lookup);
  EXPECT_EQ(lookup.rgba[1], 3.0f);
  // Levels of 8, 4, 2 and 1 pixels a side.
  EXPECT_EQ(image->memory(), kImageBytes + 3 * (64 + 16 + 4 + 1) * sizeof(float));
}

TEST_F(ImageSizeTest, PixelsThatAreGoneAreBlackAndTold) {
  const std::string path = file("a.exr", 3);
  const orvImage* const image = askSize(path);
  orv_image_free_mode(scene(), false, true);
  std::filesystem::remove(path);
  EXPECT_EQ(pixel(*image, 1, 2), (std::vector<float>{0, 0, 0}));
  EXPECT_EQ(image->pixels()[3 * 16 * 16 - 1], 0.0f);
  orvImage_lookup lookup;
  image->lookup(lookup);
  EXPECT_THAT(lookup.rgba, testing::ElementsAre(0, 0, 0, 1));
  EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr(path + ": there is no such file")));
  EXPECT_EQ(load(path), nullptr);
}

TEST_F(ImageSizeTest, PixelsOfAnotherSizeAreBlackAndTold) {
  const std::string path = file("a.exr", 3);
  const orvImage* const image = askSize(path);
  orv_image_free_mode(scene(), false, true);
  writeImage("openexr", path, floatSpec(8, 4, 3), std::vector<float>(3 * 8 * 4, 5));
  EXPECT_EQ(pixel(*image, 15, 15), (std::vector<float>{0, 0, 0}));
  EXPECT_EQ(image->width(), 16u);
  EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("8 x 4 pixels now and was 16 x 16")));
  // Others get what the file is now.
  EXPECT_EQ(load(path)->width(), 8u);
}

TEST_F(ImageSizeTest, WithoutMemoryForBlackThereAreNoPixels) {
  const std::string path = file("a.exr", 3);
  const orvImage* const image = askSize(path);
  orv_image_free_mode(scene(), false, true);
  std::filesystem::remove(path);
  orv_memory_fail_at(1);
  EXPECT_EQ(image->pixels(), nullptr);
  EXPECT_EQ(pixel(*image, 0, 0), (std::vector<float>{0, 0, 0}));
  orvImage_lookup lookup;
  image->lookup(lookup);
  EXPECT_THAT(lookup.rgba, testing::ElementsAre(0, 0, 0, 1));
}

TEST_F(ImageSizeTest, ManyThreadsAskAtOnce) {
  const orvImage* const image = askSize(file("a.exr", 3));
  const std::string other = file("b.exr", 4);
  for (int round = 0; round < 20; ++round) {
    const orvImage* const sized = askSize(other);
    orv_image_free_mode(scene(), false, true);
    orv::forEachRow(64, 1, [&](std::uint32_t i) {
      const int x = static_cast<int>(i % 16), y = static_cast<int>(i / 16);
      EXPECT_EQ(pixel(*image, x, y)[0], 3.0f);
      EXPECT_EQ(pixel(*sized, x, y)[0], 4.0f);
    });
  }
}

}  // namespace
