#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory_resource>
#include <new>
#include <stdexcept>
#include <vector>

#include "hdri/Pixel.h"

namespace orv::hdri {

/// An allocator that leaves new elements uninitialised and takes its storage from a memory resource; copies
/// of a container come from the standard heap.
template <typename T>
class PixelAllocator {
 public:
  using value_type = T;

  PixelAllocator() noexcept : resource_(std::pmr::new_delete_resource()) {}
  explicit PixelAllocator(std::pmr::memory_resource* resource) noexcept : resource_(resource) {}
  template <typename U>
  explicit PixelAllocator(const PixelAllocator<U>& other) noexcept : resource_(other.resource()) {}

  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(resource_->allocate(n * sizeof(T), alignment));
  }
  void deallocate(T* p, std::size_t n) noexcept { resource_->deallocate(p, n * sizeof(T), alignment); }

  template <typename U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U{static_cast<Args&&>(args)...};
  }

  PixelAllocator select_on_container_copy_construction() const noexcept { return {}; }
  std::pmr::memory_resource* resource() const noexcept { return resource_; }
  bool operator==(const PixelAllocator& other) const noexcept { return *resource_ == *other.resource_; }

 private:
  static constexpr std::size_t alignment = 64;
  std::pmr::memory_resource* resource_;
};

/// The pixel count of an image, a 32-bit signed number.
/// @throws std::length_error "vector too long" when it is negative or does not fit.
inline std::int32_t checkedPixelCount(std::int64_t width, std::int64_t height) {
  std::int64_t count = 0;
  if (__builtin_mul_overflow(width, height, &count) || count < 0 ||
      count > std::numeric_limits<std::int32_t>::max())
    throw std::length_error("vector too long");
  return static_cast<std::int32_t>(count);
}

/// A painted environment map: latitude-longitude, scene-linear RGB, 32-bit floats.
///
/// Pixel (x, y) is `pixels[y * width + x]`. Row 0 is nearest the zenith (+z); row y has latitude
/// (1/2 - (y + 1/2) / height) * pi. Column x has longitude ((x + 1/2) / width - 1/2) * 2 pi, so the middle of
/// the map is +x and longitudes grow to the right.
struct EnvImage {
  std::int32_t width;
  std::int32_t height;
  std::vector<Rgb, PixelAllocator<Rgb>> pixels;

  /// Makes an image of `w` x `h` uninitialised pixels.
  /// @param memory where the pixels' storage comes from; must outlive the image.
  /// @throws std::length_error "vector too long" when w * h is negative or does not fit 32 bits;
  ///         std::bad_alloc when there is no memory.
  EnvImage(std::int32_t w, std::int32_t h,
           std::pmr::memory_resource* memory = std::pmr::new_delete_resource())
      : width(w),
        height(h),
        pixels(static_cast<std::size_t>(checkedPixelCount(w, h)), PixelAllocator<Rgb>(memory)) {}
};

}  // namespace orv::hdri
