#include "pins/RowBuckets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "pins/PassPlan.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

std::vector<PlannedPin> pinsOf(const std::vector<RowRange>& rows) {
  std::vector<PlannedPin> pins;
  for (const RowRange& range : rows) pins.push_back({nullptr, nullptr, nullptr, 0, range, nullptr, 0, 0});
  return pins;
}

/// Ranges of all kinds on a map of `height` rows: at its edges, over all of it, single rows and empty ones.
std::vector<RowRange> manyRanges(std::size_t count, std::int32_t height) {
  std::mt19937 random(3);
  std::uniform_int_distribution<std::int32_t> row(0, height - 1);
  std::vector<RowRange> ranges{{0, 0}, {height - 1, height - 1}, {0, height - 1}, {height, height - 1}};
  while (ranges.size() < count) {
    const std::int32_t first = row(random);
    const std::int32_t last = std::min(first + row(random) % 20, height - 1);
    ranges.push_back(ranges.size() % 9 == 0 ? RowRange{last, first - 1} : RowRange{first, last});
  }
  return ranges;
}

class Buckets : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(Buckets, HoldEveryPinOfARowInListOrder) {
  for (const std::int32_t height : {5, 64, 333, 2048}) {
    const std::vector<PlannedPin> pins = pinsOf(manyRanges(3000, height));
    const RowBuckets buckets(pins, height);
    ASSERT_FALSE(buckets.empty());
    for (std::int32_t y = 0; y < height; ++y) {
      const auto near = buckets.pinsNear(y);
      EXPECT_TRUE(std::adjacent_find(near.begin(), near.end(), std::greater_equal<>()) == near.end());
      std::vector<std::uint32_t> expected, found;
      for (std::uint32_t i = 0; i < pins.size(); ++i)
        if (pins[i].rows.first <= y && y <= pins[i].rows.last) expected.push_back(i);
      for (const std::uint32_t i : near)
        if (pins[i].rows.first <= y && y <= pins[i].rows.last) found.push_back(i);
      ASSERT_EQ(found, expected) << "row " << y << " of " << height;
    }
  }
}

TEST_F(Buckets, OfSmallPinsHoldFewOthers) {
  std::vector<RowRange> ranges;
  for (std::int32_t i = 0; i < 2000; ++i) ranges.push_back({i, i + 10});
  const std::vector<PlannedPin> pins = pinsOf(ranges);
  const RowBuckets buckets(pins, 2048);
  for (std::int32_t y = 0; y < 2048; ++y) EXPECT_LE(buckets.pinsNear(y).size(), 20u);
}

TEST_F(Buckets, StayWithinTheirMemory) {
  // 5000 pins over all of 65,536 rows: one entry a row and pin would be 1.3 GB.
  const std::vector<PlannedPin> pins = pinsOf(std::vector<RowRange>(5000, RowRange{0, 65535}));
  const RowBuckets buckets(pins, 65536);
  EXPECT_LE(FakeHost::instance().lastAligned().first, RowBuckets::kMostEntries * sizeof(std::uint32_t));
  ASSERT_FALSE(buckets.empty());
  EXPECT_EQ(buckets.pinsNear(65535).size(), 5000u);
}

TEST_F(Buckets, OfATallMapStayWithinTheirMemory) {
  const std::vector<PlannedPin> pins = pinsOf(std::vector<RowRange>(100, RowRange{7, 8}));
  const RowBuckets buckets(pins, 2147483647);
  ASSERT_FALSE(buckets.empty());
  EXPECT_EQ(buckets.pinsNear(8).size(), 100u);
  EXPECT_TRUE(buckets.pinsNear(2147483646).empty());
}

TEST_F(Buckets, AreEmptyWithoutMemory) {
  const std::vector<PlannedPin> pins = pinsOf(manyRanges(100, 64));
  for (const int failing : {1, 2}) {
    FakeHost::instance().failAllocation(failing);
    EXPECT_TRUE(RowBuckets(pins, 64).empty());
    FakeHost::instance().failAllocation(0);
  }
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(Buckets, AreEmptyForFewPinsAndForPinsWithoutRows) {
  EXPECT_TRUE(RowBuckets(pinsOf(manyRanges(RowBuckets::kFewestPins - 1, 64)), 64).empty());
  EXPECT_TRUE(RowBuckets(pinsOf(std::vector<RowRange>(100, RowRange{64, 63})), 64).empty());
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
