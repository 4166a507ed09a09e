#include "orvrender/BigBlocks.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace orv::host {
namespace {

/// Maps `capacity` bytes at a huge-page boundary behind a header page, and gives the rest back.
std::byte* map(std::size_t capacity) {
  const std::size_t mapped = BigBlocks::kHeaderBytes + capacity + BigBlocks::kAlignment;
  void* const region = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (region == MAP_FAILED) return nullptr;

  auto* const begin = static_cast<std::byte*>(region);
  const std::uintptr_t behindHeader = reinterpret_cast<std::uintptr_t>(begin) + BigBlocks::kHeaderBytes;
  const std::size_t skip =
      (BigBlocks::kAlignment - behindHeader % BigBlocks::kAlignment) % BigBlocks::kAlignment;
  if (skip > 0) munmap(begin, skip);
  std::byte* const data = begin + skip + BigBlocks::kHeaderBytes;
  const std::size_t rest = BigBlocks::kAlignment - skip;
  if (rest > 0) munmap(data + capacity, rest);

  // A refusal leaves ordinary pages: slower, but as good.
  static_cast<void>(madvise(data, capacity, MADV_HUGEPAGE));
  return data;
}

void unmap(BigBlocks::Block block) {
  munmap(block.data - BigBlocks::kHeaderBytes, BigBlocks::kHeaderBytes + block.capacity);
}

}  // namespace

BigBlocks& BigBlocks::instance() {
  // Never destroyed: blocks may come back from destructors that run at the program's end.
  static BigBlocks* const blocks = new BigBlocks;
  return *blocks;
}

BigBlocks::Block BigBlocks::take(std::size_t bytes) {
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 4;
  if (bytes > kMost) return {};
  const std::size_t capacity = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  {
    const std::lock_guard lock(mutex_);
    Block* best = nullptr;
    for (Block* block = waiting_; block != waiting_ + waitingCount_; ++block) {
      const bool fits = block->capacity >= capacity && block->capacity - capacity <= capacity / 4;
      if (fits && (!best || block->capacity < best->capacity)) best = block;
    }
    if (best) {
      const Block taken = *best;
      std::copy(best + 1, waiting_ + waitingCount_, best);
      --waitingCount_;
      waitingBytes_ -= taken.capacity;
      return taken;
    }
  }

  std::byte* data = map(capacity);
  if (!data) {
    // The blocks that wait may be what is missing.
    {
      const std::lock_guard lock(mutex_);
      releaseWaiting();
    }
    data = map(capacity);
  }
  return data ? Block{data, capacity} : Block{};
}

void BigBlocks::giveBack(Block block) {
  {
    const std::lock_guard lock(mutex_);
    if (scenes_ > 0 && block.capacity <= kMostWaitingBytes) {
      // The oldest make room.
      while (waitingCount_ == kMostWaiting || waitingBytes_ + block.capacity > kMostWaitingBytes) {
        unmap(waiting_[0]);
        waitingBytes_ -= waiting_[0].capacity;
        std::copy(waiting_ + 1, waiting_ + waitingCount_, waiting_);
        --waitingCount_;
      }
      waiting_[waitingCount_++] = block;
      waitingBytes_ += block.capacity;
      return;
    }
  }
  unmap(block);
}

void BigBlocks::addScene() {
  const std::lock_guard lock(mutex_);
  ++scenes_;
}

void BigBlocks::removeScene() {
  const std::lock_guard lock(mutex_);
  if (--scenes_ == 0) releaseWaiting();
}

void BigBlocks::releaseWaiting() {
  for (std::size_t i = 0; i < waitingCount_; ++i) unmap(waiting_[i]);
  waitingCount_ = 0;
  waitingBytes_ = 0;
}

}  // namespace orv::host
