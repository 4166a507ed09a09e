#include "maps/AlignedArray.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <utility>

#include "maps/BlockedMap.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

class AlignedArrayTest : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(AlignedArrayTest, LiesOnACacheLine) {
  for (const std::size_t size : {1u, 3u, 100u}) {
    const AlignedArray<Block> blocks(size);
    EXPECT_EQ(blocks.size(), size);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.data()) % 64, 0u);
    EXPECT_EQ(FakeHost::instance().lastAligned(), std::pair(size * sizeof(Block), std::size_t{64}));
  }
}

TEST_F(AlignedArrayTest, OfNothingAllocatesNothing) {
  const auto before = FakeHost::instance().totalAllocations();
  EXPECT_EQ(AlignedFloats(0).data(), nullptr);
  EXPECT_EQ(FakeHost::instance().totalAllocations(), before);
}

TEST_F(AlignedArrayTest, NoMemoryIsBadAlloc) {
  FakeHost::instance().failAllocation(1);
  EXPECT_THROW(AlignedFloats(8), std::bad_alloc);
}

TEST_F(AlignedArrayTest, GivesItsStorageBackOnce) {
  const auto before = FakeHost::instance().liveBlocks();
  {
    AlignedFloats array(4);
    const AlignedFloats moved(std::move(array));
    EXPECT_EQ(FakeHost::instance().liveBlocks(), before + 1);
  }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), before);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
