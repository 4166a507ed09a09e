#pragma once

#include <cstddef>
#include <span>

#include "painter/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

/// A growable row of blocks in the host's 32-byte aligned storage. Grows by half its capacity, at least to
/// what is asked for; contents are not kept when it grows.
class BlockRow {
 public:
  BlockRow() = default;
  BlockRow(BlockRow&& other) noexcept;
  BlockRow& operator=(BlockRow&&) = delete;
  BlockRow(const BlockRow&) = delete;
  BlockRow& operator=(const BlockRow&) = delete;
  ~BlockRow();

  /// @throws std::bad_alloc when the host has no memory.
  void resize(std::size_t blocks);

  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }
  std::span<Block> blocks() { return {data_, size_}; }

 private:
  Block* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace orv::hdri::blockedAVX2
