#include "pins/PinRowPainter.h"

#include <algorithm>
#include <cstring>

#include "backgrounds/BackgroundSource.h"
#include "hdri/EnvImage.h"
#include "painter/BlockedPainter.h"
#include "shapes/PinShape.h"
#include "shapes/trigonometry.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Results of this size and more are written past the caches, which they would only flush.
constexpr std::size_t kStreamingBytes = std::size_t{32} << 20;

void interleaveBlock(const Block& block, Float8& a, Float8& b, Float8& c) {
  interleave(load(block.r), load(block.g), load(block.b), a, b, c);
}

}  // namespace

PinRowPainter::PinRowPainter(const BlockedPainter* painter, const PassPlan* plan, EnvImage* result)
    : painter_(painter), plan_(plan), result_(result) {
  row_.resize(plan->blocks());
}

void PinRowPainter::paintRow(std::int32_t y) {
  // latitude = (1/2 - (y + 1/2) / height) pi
  const float latitude =
      (0.5f - (static_cast<float>(y) + 0.5f) / static_cast<float>(painter_->height())) * kPi;
  painter_->background()->fillRow(static_cast<std::uint32_t>(y), latitude, row_.blocks());
  setLatitude(latitude);
  for (const PlannedPin& pin : plan_->pins()) {
    if (pin.firstRow <= y && y <= pin.lastRow) layPin(pin, latitude);
  }
  if (result_) storeRow(y);
  painter_->progressFraction(1.0f, result_ ? static_cast<float>(result_->height) : 0.0f);
}

void PinRowPainter::setLatitude(float latitude) {
  const SinCos8 direction = sinCos(splat(latitude));
  store(latitude_, splat(latitude));
  store(sinLatitude_, direction.sin);
  store(cosLatitude_, direction.cos);
}

void PinRowPainter::layPin(const PlannedPin& pin, float latitude) {
  pin.shape->azimuthSpans(latitude, spans_);
  // Spans ascend and may share a block, which is painted with the first of them.
  std::uint32_t next = 0;
  for (const AzimuthSpan& span : spans_) {
    const BlockRange range = plan_->blocksOf(span);
    for (std::uint32_t block = std::max(range.first, next); block < range.end; block += kRunBlocks) {
      layRun(pin, block, std::min(range.end - block, static_cast<std::uint32_t>(kRunBlocks)));
    }
    next = std::max(next, range.end);
  }
}

void PinRowPainter::layRun(const PlannedPin& pin, std::uint32_t firstBlock, std::uint32_t count) {
  const std::size_t column = 8 * std::size_t{firstBlock};
  PixelRun run = planes_.run();
  run.needs = pin.needs;
  run.blocks = count;
  run.elevation = latitude_;
  run.sinElevation = sinLatitude_;
  run.cosElevation = cosLatitude_;
  run.azimuth = plan_->azimuth() + column;
  run.sinAzimuth = plan_->sinAzimuth() + column;
  run.cosAzimuth = plan_->cosAzimuth() + column;
  run.cosFromCentre = plan_->cosFromCentre(pin, firstBlock, count);
  // Shapes that know no changes leave them alone.
  if (pin.needs & kNeedsCoordinates) {
    for (float* const change : run.changes) std::fill_n(change, 8 * run.blocks, 0.0f);
  }

  pin.shape->evaluateRun(run);
  pin.curve->applyRun(run);
  pin.fill->compositeRun(run, &row_.blocks()[firstBlock], scratch_);
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
