#include "maps/PixelMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr std::size_t kBigBlock = std::size_t{8} << 20;
constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::size_t roundedToHugePages(std::size_t bytes) { return (bytes + kHugePage - 1) & ~(kHugePage - 1); }

}  // namespace

PixelMemory& PixelMemory::instance() {
  // Never destroyed: a host may keep a map until its own statics go. Made without asking for memory.
  static constinit union Immortal {
    constexpr Immortal() : memory() {}
    ~Immortal() {}
    PixelMemory memory;
  } immortal;
  return immortal.memory;
}

void PixelMemory::attach() noexcept {
  const std::lock_guard lock(mutex_);
  ++painters_;
}

void PixelMemory::detach() noexcept {
  const std::lock_guard lock(mutex_);
  if (--painters_ > 0) return;
  std::free(std::exchange(kept_, nullptr));
  keptBytes_ = 0;
}

std::size_t PixelMemory::keptBytes() const noexcept {
  const std::lock_guard lock(mutex_);
  return keptBytes_;
}

void* PixelMemory::do_allocate(std::size_t bytes, std::size_t alignment) {
  if (bytes < kBigBlock) return ::operator new (bytes, std::align_val_t{alignment});
  const std::size_t rounded = roundedToHugePages(bytes);
  {
    const std::lock_guard lock(mutex_);
    if (keptBytes_ == rounded) {
      keptBytes_ = 0;
      return std::exchange(kept_, nullptr);
    }
    // Another size is asked for: what was kept is of no use any more.
    std::free(std::exchange(kept_, nullptr));
    keptBytes_ = 0;
  }
  void* storage = std::aligned_alloc(kHugePage, rounded);
  if (!storage) throw std::bad_alloc();
  madvise(storage, rounded, MADV_HUGEPAGE);
  return storage;
}

void PixelMemory::do_deallocate(void* storage, std::size_t bytes, std::size_t alignment) {
  if (bytes < kBigBlock) {
    ::operator delete (storage, std::align_val_t{alignment});
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    if (painters_ > 0) {
      std::swap(kept_, storage);
      keptBytes_ = roundedToHugePages(bytes);
    }
  }
  std::free(storage);
}

}  // namespace orv::hdri::blockedAVX2
