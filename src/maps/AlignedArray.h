#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>

#include "host/orvMemory.h"

namespace orv::hdri::blockedAVX2 {

/// An array of plain elements in the host's storage, aligned to cache lines. Contents are not initialised.
template <typename T>
class AlignedArray {
 public:
  /// Empty.
  AlignedArray() = default;
  /// @throws std::bad_alloc when the host has no memory.
  explicit AlignedArray(std::size_t size) : size_(size) {
    if (size == 0) return;
    data_.reset(static_cast<T*>(orv_malloc_aligned(size * sizeof(T), 64)));
    if (!data_) throw std::bad_alloc();
  }

  std::size_t size() const { return size_; }
  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  std::span<T> all() { return {data_.get(), size_}; }

 private:
  struct Free {
    void operator()(T* storage) const { orv_free_aligned(storage); }
  };
  std::size_t size_ = 0;
  std::unique_ptr<T[], Free> data_;
};

using AlignedFloats = AlignedArray<float>;

}  // namespace orv::hdri::blockedAVX2
