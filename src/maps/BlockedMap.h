#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orv::hdri::blockedAVX2 {

/// Eight horizontally adjacent pixels, one plane a channel.
struct alignas(32) Block {
  float r[8];
  float g[8];
  float b[8];
};
static_assert(sizeof(Block) == 96);

/// Whole blocks that hold `width` pixels.
inline constexpr std::uint32_t blocksFor(std::uint32_t width) { return width / 8 + (width % 8 != 0); }

/// Maps and results of this size and more are written past the caches, which they would only flush.
inline constexpr std::size_t kStreamingBytes = std::size_t{32} << 20;

/// A working image: RGB floats in blocks of eight pixels, rows padded to whole blocks, 32-byte aligned
/// storage of the host's. Block b of row y holds the pixels 8 b to 8 b + 7.
class BlockedMap {
 public:
  /// Empty: sizes 0, no storage.
  BlockedMap() = default;
  /// Allocates; contents are not initialised.
  /// @throws std::length_error "vector too long" when paddedWidth x height does not fit 32 signed bits;
  ///         std::bad_alloc when the host has no memory.
  BlockedMap(std::uint32_t width, std::uint32_t height);
  BlockedMap(BlockedMap&& other) noexcept;
  BlockedMap& operator=(BlockedMap&& other) noexcept;
  BlockedMap(const BlockedMap&) = delete;
  BlockedMap& operator=(const BlockedMap&) = delete;
  ~BlockedMap() { release(); }

  /// Gives the storage back and leaves the map empty.
  void release() noexcept;

  std::uint32_t width() const { return width_; }
  std::uint32_t height() const { return height_; }
  std::uint32_t paddedWidth() const { return paddedWidth_; }
  bool empty() const { return data_ == nullptr; }
  std::size_t blocksPerRow() const { return paddedWidth_ / 8; }
  /// Bytes of storage.
  std::size_t bytes() const { return blocksPerRow() * height_ * sizeof(Block); }

  float* data() { return data_; }
  const float* data() const { return data_; }
  std::span<Block> row(std::uint32_t y) { return {blocks() + y * blocksPerRow(), blocksPerRow()}; }
  std::span<const Block> row(std::uint32_t y) const {
    return {blocks() + y * blocksPerRow(), blocksPerRow()};
  }

 private:
  Block* blocks() { return reinterpret_cast<Block*>(data_); }
  const Block* blocks() const { return reinterpret_cast<const Block*>(data_); }

  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  std::uint32_t paddedWidth_ = 0;
  float* data_ = nullptr;
};

}  // namespace orv::hdri::blockedAVX2
