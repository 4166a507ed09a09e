#include "pins/BlockRow.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <utility>

#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

TEST(BlockRow, GrowsByHalfItsCapacityAtLeast) {
  FakeHost::instance().reset();
  BlockRow row;
  row.resize(10);
  EXPECT_EQ(row.capacity(), 10u);
  row.resize(11);
  EXPECT_EQ(row.capacity(), 15u);
  row.resize(100);
  EXPECT_EQ(row.capacity(), 100u);
  EXPECT_EQ(row.size(), 100u);
}

TEST(BlockRow, ShrinkingKeepsTheStorage) {
  FakeHost::instance().reset();
  BlockRow row;
  row.resize(10);
  const auto allocations = FakeHost::instance().totalAllocations();
  const Block* data = row.blocks().data();
  row.resize(2);
  row.resize(10);
  EXPECT_EQ(row.blocks().data(), data);
  EXPECT_EQ(FakeHost::instance().totalAllocations(), allocations);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 32, 0u);
}

TEST(BlockRow, WithoutMemoryThrowsAndKeepsWhatItHas) {
  FakeHost::instance().reset();
  BlockRow row;
  row.resize(4);
  FakeHost::instance().failAllocation(1);
  EXPECT_THROW(row.resize(40), std::bad_alloc);
  EXPECT_EQ(row.size(), 4u);
}

TEST(BlockRow, GivesItsStorageBack) {
  FakeHost::instance().reset();
  const auto before = FakeHost::instance().liveBlocks();
  {
    BlockRow row;
    row.resize(4);
    const BlockRow moved(std::move(row));
  }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), before);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
