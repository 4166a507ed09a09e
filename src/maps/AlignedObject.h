#pragma once

#include <cstddef>
#include <new>

#include "host/orvMemory.h"

namespace orv::hdri {

/// Base of classes whose objects hold eight-lane data: their storage is the host's, 32-byte aligned, and
/// comes back through `delete` on any base with a virtual destructor. Made with `new (std::nothrow)`, which
/// gives null when there is no memory.
class AlignedObject {
 public:
  static void* operator new(std::size_t bytes) = delete;
  static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return orv_malloc_aligned(bytes, 32);
  }
  static void* operator new(std::size_t, void* storage) noexcept { return storage; }
  static void operator delete(void* storage) noexcept { orv_free_aligned(storage); }
  static void operator delete(void* storage, const std::nothrow_t&) noexcept { orv_free_aligned(storage); }
  static void operator delete(void*, void*) noexcept {}

 protected:
  AlignedObject() = default;
  ~AlignedObject() = default;
  AlignedObject(const AlignedObject&) = default;
  AlignedObject& operator=(const AlignedObject&) = default;
};

}  // namespace orv::hdri
