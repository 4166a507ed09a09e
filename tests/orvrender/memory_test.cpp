#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "host/orvMemory.h"
#include "orvrender/orvHost.h"

namespace {

constexpr std::size_t kBig = std::size_t{33} << 20;

bool isAligned(const void* storage, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(storage) % alignment == 0;
}

TEST(Memory, BlocksStartAtAMultipleOfTheAlignment) {
  for (std::size_t alignment = 8; alignment <= 65536; alignment *= 2) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{31}, std::size_t{4096}, kBig}) {
      void* const storage = orv_malloc_aligned(bytes, alignment);
      ASSERT_NE(storage, nullptr);
      EXPECT_TRUE(isAligned(storage, alignment)) << bytes << " bytes at " << alignment;
      orv_free_aligned(storage);
    }
  }
}

TEST(Memory, BlocksOf32MegabytesStartAtAHugePage) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer's blocks are the C library's";
#endif
  void* const storage = orv_malloc_aligned(std::size_t{32} << 20, 32);
  EXPECT_TRUE(isAligned(storage, std::size_t{2} << 20));
  orv_free_aligned(storage);
}

TEST(Memory, EveryByteOfABlockCanBeWritten) {
  for (const std::size_t bytes : {std::size_t{1}, std::size_t{100}, std::size_t{70000}, kBig + 1}) {
    auto* const storage = static_cast<unsigned char*>(orv_malloc_aligned(bytes, 32));
    ASSERT_NE(storage, nullptr);
    std::memset(storage, 0x5A, bytes);
    EXPECT_EQ(storage[0], 0x5A);
    EXPECT_EQ(storage[bytes - 1], 0x5A);
    orv_free_aligned(storage);
  }
}

TEST(Memory, CountersTellBlocksAndBytesThatLive) {
  const orvMemory_counters before = orv_memory_counters();
  void* const a = orv_malloc_aligned(1000, 32);
  void* const b = orv_malloc(24);
  void* const c = orv_malloc_aligned(kBig, 32);
  const orvMemory_counters between = orv_memory_counters();
  EXPECT_EQ(between.liveBlocks - before.liveBlocks, 3u);
  EXPECT_EQ(between.liveBytes - before.liveBytes, 1024u + kBig);
  EXPECT_EQ(between.totalBlocks - before.totalBlocks, 3u);
  orv_free_aligned(c);
  orv_free(b);
  orv_free_aligned(a);
  const orvMemory_counters after = orv_memory_counters();
  EXPECT_EQ(after.liveBlocks, before.liveBlocks);
  EXPECT_EQ(after.liveBytes, before.liveBytes);
  EXPECT_EQ(after.totalBlocks - before.totalBlocks, 3u);
}

TEST(Memory, FreeingNullDoesNothing) {
  const orvMemory_counters before = orv_memory_counters();
  orv_free(nullptr);
  orv_free_aligned(nullptr);
  EXPECT_EQ(orv_memory_counters().liveBlocks, before.liveBlocks);
}

TEST(Memory, TheNthAllocationFailsOnce) {
  orv_memory_fail_at(2);
  void* const first = orv_malloc(8);
  void* const second = orv_malloc_aligned(8, 32);
  void* const third = orv_malloc(8);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  orv_free(first);
  orv_free(third);
}

TEST(Memory, FailuresCanBeCalledOff) {
  orv_memory_fail_at(1);
  orv_memory_fail_at(0);
  void* const storage = orv_malloc(8);
  EXPECT_NE(storage, nullptr);
  orv_free(storage);
}

TEST(Memory, SizesThatNoMachineHasGiveNull) {
  const orvMemory_counters before = orv_memory_counters();
  for (const std::size_t bytes :
       {std::numeric_limits<std::size_t>::max(), std::numeric_limits<std::size_t>::max() - 64,
        std::numeric_limits<std::size_t>::max() / 2, std::size_t{1} << 60}) {
    EXPECT_EQ(orv_malloc(bytes), nullptr);
    EXPECT_EQ(orv_malloc_aligned(bytes, 32), nullptr);
  }
  EXPECT_EQ(orv_memory_counters().liveBlocks, before.liveBlocks);
}

TEST(Memory, AnAlignmentThatIsNoPowerOfTwoGivesNull) {
  EXPECT_EQ(orv_malloc_aligned(64, 0), nullptr);
  EXPECT_EQ(orv_malloc_aligned(64, 24), nullptr);
}

TEST(Memory, NoBytesGiveABlockOfTheirOwn) {
  void* const a = orv_malloc(0);
  void* const b = orv_malloc(0);
  EXPECT_NE(a, nullptr);
  EXPECT_NE(a, b);
  orv_free(a);
  orv_free(b);
}

TEST(Memory, BigBlocksComeBackWhileASceneLives) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer's blocks are the C library's";
#endif
  orvScene* const scene = orv_scene_create({});
  auto* const first = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  first[kBig - 1] = 0x77;
  orv_free_aligned(first);
  // Storage fresh from the system is zero; this still holds what was written.
  auto* const second = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  EXPECT_EQ(second, first);
  EXPECT_EQ(second[kBig - 1], 0x77);
  orv_free_aligned(second);
  orv_scene_destroy(scene);
}

TEST(Memory, BigBlocksGoBackToTheSystemWhereTheSceneKeepsNone) {
  orvScene_options options;
  options.keepBlocks = false;
  orvScene* const scene = orv_scene_create(options);
  auto* const first = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  first[kBig - 1] = 0x77;
  orv_free_aligned(first);
  auto* const second = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
#if !defined(__SANITIZE_ADDRESS__)
  EXPECT_EQ(second[kBig - 1], 0) << "the system's pages are zero";
#endif
  orv_free_aligned(second);
  orv_scene_destroy(scene);
}

TEST(Memory, BigBlocksGoBackToTheSystemWithoutAScene) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer's blocks are the C library's";
#endif
  orvScene* const scene = orv_scene_create({});
  auto* const first = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  first[kBig - 1] = 0x77;
  orv_free_aligned(first);
  orv_scene_destroy(scene);
  auto* const second = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  EXPECT_EQ(second[kBig - 1], 0);
  orv_free_aligned(second);
}

TEST(Memory, AWaitingBlockServesNoMuchSmallerRequest) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer's blocks are the C library's";
#endif
  orvScene* const scene = orv_scene_create({});
  auto* const first = static_cast<unsigned char*>(orv_malloc_aligned(2 * kBig, 32));
  first[0] = 0x77;
  orv_free_aligned(first);
  auto* const second = static_cast<unsigned char*>(orv_malloc_aligned(kBig, 32));
  EXPECT_EQ(second[0], 0);
  orv_free_aligned(second);
  orv_scene_destroy(scene);
}

TEST(Memory, CountersAddUpOverThreads) {
  const orvMemory_counters before = orv_memory_counters();
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < kRounds; ++i) orv_free_aligned(orv_malloc_aligned(64, 32));
    });
  }
  for (std::thread& thread : threads) thread.join();
  const orvMemory_counters after = orv_memory_counters();
  EXPECT_EQ(after.liveBlocks, before.liveBlocks);
  EXPECT_EQ(after.totalBlocks - before.totalBlocks, std::uint64_t{kThreads} * kRounds);
}

}  // namespace
