#pragma once

#include <cstddef>
#include <mutex>

namespace orv::host {

/// Big blocks of storage, on huge pages. Touching fresh memory costs more than most passes that write into
/// it, so while a scene that wants it lives a few blocks that were given back wait for the next request of
/// about their size. Thread-safe.
class BigBlocks {
 public:
  /// Requests from this size on come from here.
  static constexpr std::size_t kSmallestBytes = std::size_t{32} << 20;
  /// Blocks start at a multiple of this, the size of a huge page.
  static constexpr std::size_t kAlignment = std::size_t{2} << 20;
  /// Bytes in front of a block that belong to its owner.
  static constexpr std::size_t kHeaderBytes = 4096;

  struct Block {
    std::byte* data = nullptr;  ///< null when there is no memory
    std::size_t capacity = 0;
  };

  static BigBlocks& instance();

  /// A block of at least `bytes`.
  Block take(std::size_t bytes);
  void giveBack(Block block);

  /// A scene that keeps blocks was made, or destroyed; the last one takes the waiting blocks with it.
  void addScene();
  void removeScene();

 private:
  static constexpr std::size_t kMostWaiting = 4;
  static constexpr std::size_t kMostWaitingBytes = std::size_t{1} << 30;

  BigBlocks() = default;
  void releaseWaiting();  // the mutex is held

  std::mutex mutex_;
  Block waiting_[kMostWaiting];  // the oldest first
  std::size_t waitingCount_ = 0;
  std::size_t waitingBytes_ = 0;
  std::size_t scenes_ = 0;
};

}  // namespace orv::host
