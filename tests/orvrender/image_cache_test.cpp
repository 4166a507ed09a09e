#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/orvMemory.h"
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

TEST_F(ImageCacheTest, TwoUsersShareOneImage) {
  const std::string path = file("a.exr", 1);
  orvImage* const first = load(path);
  EXPECT_EQ(load(path), first);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, WithoutCachingEachUserGetsItsOwn) {
  const std::string path = file("a.exr", 1);
  orvImage* const cached = load(path);
  orvImage* const own = load(path, orvTexture_profile::environment, false);
  EXPECT_NE(own, cached);
  free(own);
  EXPECT_EQ(held(), 1u);
}

TEST_F(ImageCacheTest, ProfilesAreKeptApart) {
  const std::string path = file("a.exr", 1);
  EXPECT_NE(load(path, orvTexture_profile::data), load(path, orvTexture_profile::environment));
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
  orvImage* const first = load(path);
  load(path);
  free(first, true);
  EXPECT_EQ(pixel(*first, 3, 3)[0], 1.0f);
  EXPECT_NE(load(path), first);
  free(first);
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
  orvImage* const b = load(file("b.exr", 2));
  EXPECT_EQ(pixel(*a, 0, 0)[0], 1.0f);
  EXPECT_EQ(pixel(*b, 0, 0)[0], 2.0f);
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
  orv_image_free_mode(scene(), false, true);
  EXPECT_EQ(held(), 1u);
  EXPECT_EQ(pixel(*image, 0, 0)[0], 1.0f);
  EXPECT_NE(load(used), image);
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
  EXPECT_EQ(load(path), image);
}

TEST_F(ImageCacheTest, FreeingNullDoesNothing) {
  free(nullptr);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

}  // namespace
