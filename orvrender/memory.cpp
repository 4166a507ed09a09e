#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

#include "host/orvMemory.h"
#include "orvrender/BigBlocks.h"
#include "orvrender/orvHost.h"

namespace orv::host {
namespace {

/// What stands right in front of each block.
struct BlockHeader {
  std::uint64_t bytes;     // as asked for
  std::uint64_t capacity;  // of a big block; 0 for one of the C library's
  std::uint64_t offset;    // from the C library's block to ours
};
constexpr std::size_t kHeaderBytes = 32;
static_assert(sizeof(BlockHeader) <= kHeaderBytes && kHeaderBytes <= BigBlocks::kHeaderBytes);

// The address sanitizer sees what the C library hands out and no mapping of ours.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kBigBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kBigBlocks = false;
#else
constexpr bool kBigBlocks = true;
#endif
#else
constexpr bool kBigBlocks = true;
#endif

std::atomic<std::uint64_t> liveBlocks{0};
std::atomic<std::uint64_t> liveBytes{0};
std::atomic<std::uint64_t> totalBlocks{0};
std::atomic<std::uint64_t> failAt{0};  // allocations until one fails; 0: none will

/// Whether this allocation is the one that was asked to fail.
bool isToFail() {
  std::uint64_t left = failAt.load(std::memory_order_relaxed);
  while (left > 0 && !failAt.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
  }
  return left == 1;
}

BlockHeader* headerOf(void* storage) {
  return reinterpret_cast<BlockHeader*>(static_cast<std::byte*>(storage) - kHeaderBytes);
}

std::byte* allocateSmall(std::size_t bytes, std::size_t alignment) {
  const std::size_t offset = std::max(alignment, kHeaderBytes);
  if (bytes > std::numeric_limits<std::size_t>::max() / 4 ||
      offset > std::numeric_limits<std::size_t>::max() / 4) {
    return nullptr;
  }
  const std::size_t rounded = (offset + bytes + alignment - 1) / alignment * alignment;
  auto* const begin = static_cast<std::byte*>(std::aligned_alloc(alignment, rounded));
  if (!begin) return nullptr;
  new (headerOf(begin + offset)) BlockHeader{bytes, 0, offset};
  return begin + offset;
}

std::byte* allocateBig(std::size_t bytes) {
  const BigBlocks::Block block = BigBlocks::instance().take(bytes);
  if (!block.data) return nullptr;
  new (headerOf(block.data)) BlockHeader{bytes, block.capacity, 0};
  return block.data;
}

void* allocate(std::size_t bytes, std::size_t alignment) {
  if (!std::has_single_bit(alignment) || isToFail()) return nullptr;
  const bool big = kBigBlocks && bytes >= BigBlocks::kSmallestBytes && alignment <= BigBlocks::kAlignment;
  std::byte* const storage =
      big ? allocateBig(bytes) : allocateSmall(bytes, std::max<std::size_t>(alignment, 16));
  if (!storage) return nullptr;
  liveBlocks.fetch_add(1, std::memory_order_relaxed);
  liveBytes.fetch_add(bytes, std::memory_order_relaxed);
  totalBlocks.fetch_add(1, std::memory_order_relaxed);
  return storage;
}

void release(void* storage) {
  if (!storage) return;
  const BlockHeader header = *headerOf(storage);
  liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  liveBytes.fetch_sub(header.bytes, std::memory_order_relaxed);
  auto* const data = static_cast<std::byte*>(storage);
  if (header.capacity > 0) {
    BigBlocks::instance().giveBack({data, header.capacity});
  } else {
    std::free(data - header.offset);
  }
}

}  // namespace
}  // namespace orv::host

extern "C" {

void* orv_malloc_aligned(std::size_t bytes, std::size_t alignment) {
  return orv::host::allocate(bytes, alignment);
}

void orv_free_aligned(void* storage) { orv::host::release(storage); }

void* orv_malloc(std::size_t bytes) { return orv::host::allocate(bytes, alignof(std::max_align_t)); }

void orv_free(void* storage) { orv::host::release(storage); }

orvMemory_counters orv_memory_counters() {
  using namespace orv::host;
  return {liveBlocks.load(std::memory_order_relaxed), liveBytes.load(std::memory_order_relaxed),
          totalBlocks.load(std::memory_order_relaxed)};
}

void orv_memory_fail_at(std::uint64_t n) { orv::host::failAt.store(n, std::memory_order_relaxed); }

}  // extern "C"
