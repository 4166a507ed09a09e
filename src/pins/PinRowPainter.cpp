#include "pins/PinRowPainter.h"

#include <algorithm>
#include <cstring>

#include "backgrounds/BackgroundSource.h"
#include "backgrounds/PaintContext.h"
#include "hdri/EnvImage.h"
#include "shapes/PinShape.h"
#include "shapes/trigonometry.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

void interleaveBlock(const Block& block, Float8& a, Float8& b, Float8& c) {
  interleave(load(block.r), load(block.g), load(block.b), a, b, c);
}

}  // namespace

PinRowPainter::PinRowPainter(const PaintContext& context, const BackgroundSource& background,
                             const PassPlan& plan, EnvImage& result)
    : context_(&context), background_(&background), plan_(&plan), result_(&result), row_(plan.blocks()) {}

void PinRowPainter::paintRow(std::uint32_t y) {
  const auto row = static_cast<std::int32_t>(y);
  // latitude = (1/2 - (y + 1/2) / height) pi
  const float latitude =
      (0.5f - (static_cast<float>(row) + 0.5f) / static_cast<float>(context_->height)) * kPi;
  background_->fillRow(y, latitude, row_.all());
  setLatitude(latitude);
  plan_->forEachPinOfRow(row, [&](const PlannedPin& pin) { layPin(pin, latitude); });
  storeRow(y);
  context_->progressFraction(1.0f, static_cast<float>(result_->height));
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
    for (std::uint32_t block = std::max(range.first, next); block < range.end; block += kBatchBlocks) {
      layBatch(pin, block, std::min(range.end - block, static_cast<std::uint32_t>(kBatchBlocks)));
    }
    next = std::max(next, range.end);
  }
}

void PinRowPainter::layBatch(const PlannedPin& pin, std::uint32_t firstBlock, std::uint32_t count) {
  const std::size_t column = 8 * std::size_t{firstBlock};
  PixelBatch batch = planes_.batch();
  batch.needs = pin.needs;
  batch.blocks = count;
  batch.elevation = latitude_;
  batch.sinElevation = sinLatitude_;
  batch.cosElevation = cosLatitude_;
  batch.azimuth = plan_->azimuth() + column;
  batch.sinAzimuth = plan_->sinAzimuth() + column;
  batch.cosAzimuth = plan_->cosAzimuth() + column;
  batch.color = &row_[firstBlock];
  batch.cosFromCentre = plan_->cosFromCentre(pin, firstBlock, count);
  // Shapes that know no changes leave them alone.
  if (pin.needs & kNeedsCoordinates) {
    for (float* const change : batch.changes) std::fill_n(change, 8 * batch.blocks, 0.0f);
  }

  pin.shape->evaluate(batch);
  pin.curve->evaluate(batch);
  pin.fill->composite(batch, scratch_);
}

void PinRowPainter::storeRow(std::uint32_t y) {
  const auto width = static_cast<std::size_t>(result_->width);
  float* out = &result_->pixels[y * width].r;
  const std::size_t whole = width / 8;
  const std::span<const Block> blocks = row_.all();
  Float8 a, b, c;

  const bool streaming = result_->pixels.size() * sizeof(Rgb) >= kStreamingBytes && width % 8 == 0;
  if (streaming) {
    for (std::size_t i = 0; i < whole; ++i, out += 24) {
      interleaveBlock(blocks[i], a, b, c);
      storeStreaming(out, a);
      storeStreaming(out + 8, b);
      storeStreaming(out + 16, c);
    }
    finishStreaming();
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
