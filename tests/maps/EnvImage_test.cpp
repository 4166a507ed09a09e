#include "hdri/EnvImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory_resource>
#include <stdexcept>

#include "maps/PixelMemory.h"

namespace orv::hdri {
namespace {

/// Counts what passes through.
class CountingMemory final : public std::pmr::memory_resource {
 public:
  std::size_t allocations = 0;

 private:
  void* do_allocate(std::size_t bytes, std::size_t alignment) override {
    ++allocations;
    return std::pmr::new_delete_resource()->allocate(bytes, alignment);
  }
  void do_deallocate(void* p, std::size_t bytes, std::size_t alignment) override {
    std::pmr::new_delete_resource()->deallocate(p, bytes, alignment);
  }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};

TEST(EnvImage, HoldsWidthTimesHeightPixels) {
  const EnvImage image(7, 3);
  EXPECT_EQ(image.width, 7);
  EXPECT_EQ(image.height, 3);
  EXPECT_EQ(image.pixels.size(), 21u);
}

TEST(EnvImage, ZeroByNHasNoPixelsAndAllocatesNothing) {
  CountingMemory memory;
  const EnvImage image(0, 1000, &memory);
  EXPECT_TRUE(image.pixels.empty());
  EXPECT_EQ(memory.allocations, 0u);
}

TEST(EnvImage, PixelCountsThatDoNotFit31BitsAreALengthError) {
  for (const auto& [width, height] : {std::pair{65536, 32768}, {65536, 65536}, {-1, 5}, {46341, 46341}}) {
    try {
      const EnvImage image(width, height);
      ADD_FAILURE() << width << " x " << height;
    } catch (const std::length_error& error) {
      EXPECT_STREQ(error.what(), "vector too long");
    }
  }
}

TEST(EnvImage, CopiedPixelsComeFromTheStandardHeap) {
  CountingMemory memory;
  const EnvImage image(2, 2, &memory);
  const auto copy = image.pixels;
  EXPECT_EQ(memory.allocations, 1u);
  EXPECT_EQ(copy.get_allocator().resource(), std::pmr::new_delete_resource());
}

TEST(PixelMemory, KeepsTheNewestBigBlockWhileAPainterLives) {
  blockedAVX2::PixelMemory& memory = blockedAVX2::PixelMemory::instance();
  constexpr std::size_t bytes = std::size_t{48} << 20;
  memory.attach();
  void* first = memory.allocate(bytes, 64);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % (2u << 20), 0u);
  memory.deallocate(first, bytes, 64);
  EXPECT_EQ(memory.keptBytes(), bytes);
  void* again = memory.allocate(bytes, 64);
  EXPECT_EQ(again, first);
  memory.deallocate(again, bytes, 64);
  memory.detach();
  EXPECT_EQ(memory.keptBytes(), 0u);
}

TEST(PixelMemory, KeepsNothingWithoutAPainter) {
  blockedAVX2::PixelMemory& memory = blockedAVX2::PixelMemory::instance();
  constexpr std::size_t bytes = std::size_t{40} << 20;
  memory.deallocate(memory.allocate(bytes, 64), bytes, 64);
  EXPECT_EQ(memory.keptBytes(), 0u);
}

TEST(PixelMemory, AnotherSizeReplacesWhatWasKept) {
  blockedAVX2::PixelMemory& memory = blockedAVX2::PixelMemory::instance();
  constexpr std::size_t small = std::size_t{34} << 20, large = std::size_t{64} << 20;
  memory.attach();
  memory.deallocate(memory.allocate(small, 64), small, 64);
  void* block = memory.allocate(large, 64);
  EXPECT_EQ(memory.keptBytes(), 0u);
  memory.deallocate(block, large, 64);
  EXPECT_EQ(memory.keptBytes(), large);
  memory.detach();
}

TEST(PixelMemory, IsItselfAndNoOther) {
  const blockedAVX2::PixelMemory& memory = blockedAVX2::PixelMemory::instance();
  EXPECT_TRUE(memory.is_equal(memory));
  EXPECT_FALSE(memory.is_equal(*std::pmr::new_delete_resource()));
}

TEST(PixelMemory, SmallBlocksAreNeverKept) {
  blockedAVX2::PixelMemory& memory = blockedAVX2::PixelMemory::instance();
  memory.attach();
  memory.deallocate(memory.allocate(1000, 64), 1000, 64);
  EXPECT_EQ(memory.keptBytes(), 0u);
  memory.detach();
}

}  // namespace
}  // namespace orv::hdri
