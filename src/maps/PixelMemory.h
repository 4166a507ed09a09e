#pragma once

#include <cstddef>
#include <memory_resource>
#include <mutex>

namespace orv::hdri::blockedAVX2 {

/// Where results' pixels come from. Blocks of 8 MB and more are aligned for huge pages, because page faults
/// and not arithmetic are what a fresh map costs; the newest of them that comes back is kept for the next
/// paint as long as any painter lives. Thread-safe.
class PixelMemory final : public std::pmr::memory_resource {
 public:
  /// The one instance; it outlives every image.
  static PixelMemory& instance();

  /// A painter begins to live: blocks that come back may be kept.
  void attach() noexcept;
  /// A painter's life ends; with the last, what was kept goes back to the system.
  void detach() noexcept;

  /// Bytes kept for the next paint.
  std::size_t keptBytes() const noexcept;

 private:
  constexpr PixelMemory() = default;
  void* do_allocate(std::size_t bytes, std::size_t alignment) override;
  void do_deallocate(void* storage, std::size_t bytes, std::size_t alignment) override;
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }

  mutable std::mutex mutex_;
  std::size_t painters_ = 0;
  void* kept_ = nullptr;
  std::size_t keptBytes_ = 0;
};

}  // namespace orv::hdri::blockedAVX2
