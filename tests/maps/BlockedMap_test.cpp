#include "maps/BlockedMap.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <utility>

#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

class BlockedMapTest : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(BlockedMapTest, WidthOneIsPaddedToABlockOf96Bytes) {
  const BlockedMap map(1, 5);
  EXPECT_EQ(map.paddedWidth(), 8u);
  EXPECT_EQ(map.bytes(), 5u * 96u);
  EXPECT_EQ(FakeHost::instance().lastAligned(), std::pair(std::size_t{480}, std::size_t{32}));
}

TEST_F(BlockedMapTest, EightAndNineColumnsTakeOneAndTwoBlocks) {
  EXPECT_EQ(BlockedMap(8, 1).paddedWidth(), 8u);
  EXPECT_EQ(BlockedMap(9, 1).paddedWidth(), 16u);
}

TEST_F(BlockedMapTest, PixelLiesInItsBlocksPlanes) {
  BlockedMap map(17, 3);
  // (10, 2): row 2 of 24 padded pixels, block at 8, lane 2; green 8 floats on, blue 16.
  Block& block = map.row(2)[1];
  EXPECT_EQ(&block.r[2], map.data() + (2 * 24 + 8) * 3 + 2);
  EXPECT_EQ(&block.g[2], map.data() + (2 * 24 + 8) * 3 + 10);
  EXPECT_EQ(&block.b[2], map.data() + (2 * 24 + 8) * 3 + 18);
}

TEST_F(BlockedMapTest, EmptyMapHoldsNothing) {
  const BlockedMap map;
  EXPECT_EQ(map.width(), 0u);
  EXPECT_EQ(map.height(), 0u);
  EXPECT_EQ(map.paddedWidth(), 0u);
  EXPECT_EQ(map.data(), nullptr);
  EXPECT_TRUE(map.empty());
}

TEST_F(BlockedMapTest, ReleaseGivesTheStorageBack) {
  const auto before = FakeHost::instance().liveBlocks();
  BlockedMap map(4, 4);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), before + 1);
  map.release();
  EXPECT_EQ(FakeHost::instance().liveBlocks(), before);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.width(), 0u);
  EXPECT_EQ(map.height(), 0u);
  EXPECT_EQ(map.paddedWidth(), 0u);
}

TEST_F(BlockedMapTest, MoveAssignmentTakesTheOthersStorageAndFreesItsOwn) {
  const auto before = FakeHost::instance().liveBlocks();
  BlockedMap a(8, 8);
  BlockedMap b(16, 2);
  float* data = b.data();
  a = std::move(b);
  EXPECT_EQ(a.data(), data);
  EXPECT_EQ(a.width(), 16u);
  EXPECT_EQ(a.height(), 2u);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), before + 1);
  EXPECT_TRUE(b.empty());  // NOLINT(bugprone-use-after-move): what a moved-from map is
  EXPECT_EQ(b.paddedWidth(), 0u);
}

TEST_F(BlockedMapTest, SelfMoveAssignmentChangesNothing) {
  BlockedMap a(8, 8);
  float* data = a.data();
  BlockedMap& same = a;
  a = std::move(same);
  EXPECT_EQ(a.data(), data);
  EXPECT_EQ(a.width(), 8u);
}

TEST_F(BlockedMapTest, ZeroSizeAllocatesNothing) {
  const auto before = FakeHost::instance().totalAllocations();
  EXPECT_TRUE(BlockedMap(0, 7).empty());
  EXPECT_TRUE(BlockedMap(7, 0).empty());
  EXPECT_EQ(FakeHost::instance().totalAllocations(), before);
}

TEST_F(BlockedMapTest, MorePixelsThan31BitsIsALengthError) {
  const auto before = FakeHost::instance().totalAllocations();
  try {
    BlockedMap map(65536, 32768);
    FAIL() << "2^31 pixels were allocated";
  } catch (const std::length_error& error) {
    EXPECT_STREQ(error.what(), "vector too long");
  }
  // One column is eight once padded.
  EXPECT_THROW(BlockedMap(1, 1u << 28), std::length_error);
  EXPECT_THROW(BlockedMap(0xffffffffu, 1), std::length_error);
  EXPECT_EQ(FakeHost::instance().totalAllocations(), before);
}

TEST_F(BlockedMapTest, NoMemoryIsBadAlloc) {
  FakeHost::instance().failAllocation(1);
  EXPECT_THROW(BlockedMap(8, 8), std::bad_alloc);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
