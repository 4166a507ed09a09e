#include "maps/BlockedMap.h"

#include <new>
#include <utility>

#include "hdri/EnvImage.h"
#include "host/orvMemory.h"

namespace orv::hdri::blockedAVX2 {

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

void BlockedMap::release() noexcept {
  if (data_) orv_free_aligned(data_);
  width_ = height_ = paddedWidth_ = 0;
  data_ = nullptr;
}

}  // namespace orv::hdri::blockedAVX2
