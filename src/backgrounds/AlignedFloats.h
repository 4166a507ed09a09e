#pragma once

#include <cstddef>
#include <memory>
#include <new>

#include "host/orvMemory.h"

namespace orv::hdri::blockedAVX2 {

/// An array of floats in the host's storage, aligned to cache lines. Contents are not initialised.
class AlignedFloats {
 public:
  /// Empty.
  AlignedFloats() = default;
  /// @throws std::bad_alloc when the host has no memory.
  explicit AlignedFloats(std::size_t size)
      : size_(size), data_(static_cast<float*>(orv_malloc_aligned(size * sizeof(float), 64))) {
    if (!data_) throw std::bad_alloc();
  }

  std::size_t size() const { return size_; }
  float* data() { return data_.get(); }
  const float* data() const { return data_.get(); }
  float& operator[](std::size_t i) { return data_[i]; }
  const float& operator[](std::size_t i) const { return data_[i]; }

 private:
  struct Free {
    void operator()(float* storage) const { orv_free_aligned(storage); }
  };
  std::size_t size_ = 0;
  std::unique_ptr<float[], Free> data_;
};

}  // namespace orv::hdri::blockedAVX2
