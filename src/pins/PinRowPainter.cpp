#include "pins/PinRowPainter.h"

#include <cstring>

#include "backgrounds/BackgroundSource.h"
#include "hdri/EnvImage.h"
#include "painter/BlockedPainter.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Results of this size and more are written past the caches, which they would only flush.
constexpr std::size_t kStreamingBytes = std::size_t{32} << 20;

void interleaveBlock(const Block& block, Float8& a, Float8& b, Float8& c) {
  interleave(load(block.r), load(block.g), load(block.b), a, b, c);
}

}  // namespace

PinRowPainter::PinRowPainter(const BlockedPainter* painter, EnvImage* result)
    : painter_(painter), result_(result) {
  row_.resize(blocksFor(static_cast<std::uint32_t>(painter->width())));
}

void PinRowPainter::paintRow(std::int32_t y) {
  // latitude = (1/2 - (y + 1/2) / height) pi
  const float latitude =
      (0.5f - (static_cast<float>(y) + 0.5f) / static_cast<float>(painter_->height())) * 3.1415927f;
  painter_->background()->fillRow(static_cast<std::uint32_t>(y), latitude, row_.blocks());
  if (result_) storeRow(y);
  painter_->progressFraction(1.0f, result_ ? static_cast<float>(result_->height) : 0.0f);
}

void PinRowPainter::storeRow(std::int32_t y) {
  const auto width = static_cast<std::size_t>(result_->width);
  float* out = &result_->pixels[static_cast<std::size_t>(y) * width].r;
  const std::size_t whole = width / 8;
  const std::span<const Block> blocks = row_.blocks();
  Float8 a, b, c;

  const bool streaming = result_->pixels.size() * sizeof(Rgb) >= kStreamingBytes && width % 8 == 0;
  if (streaming) {
    for (std::size_t i = 0; i < whole; ++i, out += 24) {
      interleaveBlock(blocks[i], a, b, c);
      storeStreaming(out, a);
      storeStreaming(out + 8, b);
      storeStreaming(out + 16, c);
    }
    _mm_sfence();
    return;
  }

  for (std::size_t i = 0; i < whole; ++i, out += 24) {
    interleaveBlock(blocks[i], a, b, c);
    storeUnaligned(out, a);
    storeUnaligned(out + 8, b);
    storeUnaligned(out + 16, c);
  }
  if (width % 8 != 0) {
    alignas(32) float tail[24];
    interleaveBlock(blocks[whole], a, b, c);
    store(tail, a);
    store(tail + 8, b);
    store(tail + 16, c);
    std::memcpy(out, tail, (width % 8) * sizeof(Rgb));
  }
}

}  // namespace orv::hdri::blockedAVX2
