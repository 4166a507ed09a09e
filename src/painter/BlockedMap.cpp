#include "painter/BlockedMap.h"

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "host/orvMemory.h"

namespace orv::hdri::blockedAVX2 {

std::int32_t checkedPixelCount(std::int64_t width, std::int64_t height) {
  std::int64_t count = 0;
  if (__builtin_mul_overflow(width, height, &count) || count < 0 ||
      count > std::numeric_limits<std::int32_t>::max())
    throw std::length_error("vector too long");
  return static_cast<std::int32_t>(count);
}

BlockedMap::BlockedMap(std::uint32_t width, std::uint32_t height) : width_(width), height_(height) {
  const std::int64_t padded = std::int64_t{8} * blocksFor(width);
  const std::int32_t count = checkedPixelCount(padded, height);
  paddedWidth_ = static_cast<std::uint32_t>(padded);
  if (count == 0) return;
  data_ = static_cast<float*>(orv_malloc_aligned(static_cast<std::size_t>(count) / 8 * sizeof(Block), 32));
  if (!data_) throw std::bad_alloc();
}

BlockedMap::BlockedMap(BlockedMap&& other) noexcept
    : width_(std::exchange(other.width_, 0)),
      height_(std::exchange(other.height_, 0)),
      paddedWidth_(std::exchange(other.paddedWidth_, 0)),
      data_(std::exchange(other.data_, nullptr)) {}

BlockedMap& BlockedMap::operator=(BlockedMap&& other) noexcept {
  if (this == &other) return *this;
  release();
  width_ = std::exchange(other.width_, 0);
  height_ = std::exchange(other.height_, 0);
  paddedWidth_ = std::exchange(other.paddedWidth_, 0);
  data_ = std::exchange(other.data_, nullptr);
  return *this;
}

void BlockedMap::copyInto(BlockedMap& destination) const {
  BlockedMap copy(width_, height_);
  if (copy.data_) std::memcpy(copy.data_, data_, bytes());
  destination = std::move(copy);
}

void BlockedMap::release() noexcept {
  if (data_) orv_free_aligned(data_);
  width_ = height_ = paddedWidth_ = 0;
  data_ = nullptr;
}

}  // namespace orv::hdri::blockedAVX2
