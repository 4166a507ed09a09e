#include "pins/BlockRow.h"

#include <algorithm>
#include <new>
#include <utility>

#include "host/orvMemory.h"

namespace orv::hdri::blockedAVX2 {

BlockRow::BlockRow(BlockRow&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

BlockRow::~BlockRow() { orv_free_aligned(data_); }

void BlockRow::resize(std::size_t blocks) {
  if (blocks > capacity_) {
    const std::size_t capacity = std::max(blocks, capacity_ + capacity_ / 2);
    auto* grown = static_cast<Block*>(orv_malloc_aligned(capacity * sizeof(Block), 32));
    if (!grown) throw std::bad_alloc();
    orv_free_aligned(data_);
    data_ = grown;
    capacity_ = capacity;
  }
  size_ = blocks;
}

}  // namespace orv::hdri::blockedAVX2
