#include "pins/RowBuckets.h"

#include <algorithm>
#include <new>
#include <utility>

#include "pins/PassPlan.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Rows of the lowest buckets, as a shift: small pins then touch few of them.
constexpr std::uint32_t kLeastShift = 2;

/// The buckets of a pin's rows, [first, end); none for a pin without rows.
struct Buckets {
  std::size_t first;
  std::size_t end;
};

Buckets bucketsOf(const PlannedPin& pin, std::uint32_t shift) {
  if (pin.rows.first > pin.rows.last) return {0, 0};
  return {static_cast<std::size_t>(pin.rows.first >> shift),
          static_cast<std::size_t>(pin.rows.last >> shift) + 1};
}

std::size_t entriesOf(std::span<const PlannedPin> pins, std::uint32_t shift) {
  std::size_t entries = 0;
  for (const PlannedPin& pin : pins) {
    const Buckets buckets = bucketsOf(pin, shift);
    entries += buckets.end - buckets.first;
  }
  return entries;
}

}  // namespace

RowBuckets::RowBuckets(std::span<const PlannedPin> pins, std::int32_t height) {
  if (pins.size() < kFewestPins || height <= 0) return;
  std::uint32_t shift = kLeastShift;
  std::size_t entries = entriesOf(pins, shift);
  const auto lastBucket = [&] { return static_cast<std::size_t>((height - 1) >> shift); };
  while (std::max(entries, lastBucket()) > kMostEntries && lastBucket() > 0)
    entries = entriesOf(pins, ++shift);
  // One bucket is what looking at every pin is.
  const std::size_t last = lastBucket();
  if (entries == 0 || last == 0) return;

  try {
    AlignedArray<std::uint32_t> starts(last + 3);
    AlignedArray<std::uint32_t> list(entries);
    // Count the pins of each bucket two places on, so that filling leaves the starts behind.
    std::fill_n(starts.data(), starts.size(), 0u);
    for (const PlannedPin& pin : pins) {
      const Buckets buckets = bucketsOf(pin, shift);
      for (std::size_t b = buckets.first; b < buckets.end; ++b) ++starts[b + 2];
    }
    for (std::size_t b = 2; b < starts.size(); ++b) starts[b] += starts[b - 1];
    for (std::size_t i = 0; i < pins.size(); ++i) {
      const Buckets buckets = bucketsOf(pins[i], shift);
      for (std::size_t b = buckets.first; b < buckets.end; ++b)
        list[starts[b + 1]++] = static_cast<std::uint32_t>(i);
    }
    shift_ = shift;
    starts_ = std::move(starts);
    entries_ = std::move(list);
  } catch (const std::bad_alloc&) {
    // Rows look at every pin, to the same bits.
  }
}

}  // namespace orv::hdri::blockedAVX2
