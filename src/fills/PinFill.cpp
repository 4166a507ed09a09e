#include "fills/PinFill.h"

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// A channel raised to 0 and limited to the largest finite float; 0 for a NaN.
inline Float8 channelOf(Float8 x) { return min(max(x, zero8()), splat(kMost)); }

/// Merges color s of weight w into the pixels d: `blend(d, s, w)` a channel, within its limits. A pixel whose
/// weight is 0 or no number keeps its color whatever the fill's is, so that a block shows nothing outside
/// its pin.
template <typename Blend>
void merge(const Shading& shading, const PixelBatch& batch, const Blend& blend) {
  const Block* color = shading.color;
  for (std::size_t i = 0; i < batch.blocks; ++i, color += shading.step) {
    Block& d = batch.color[i];
    const Float8 w = load(shading.weight + 8 * i);
    const Mask8 painted = abs(w) > zero8();
    const auto channel = [&](float* below, const float* shaded) {
      const Float8 under = load(below);
      store(below, channelOf(select(painted, blend(under, load(shaded), w), under)));
    };
    channel(d.r, color->r);
    channel(d.g, color->g);
    channel(d.b, color->b);
  }
}

/// Whether any pixel of block i has a weight.
bool isPainted(const PixelBatch& batch, std::size_t i) {
  return any(abs(load(batch.weight + 8 * i)) > zero8());
}

/// What `merge` does to blocks without any weight.
void limitChannels(Block* blocks, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    for (float* const channel : {blocks[i].r, blocks[i].g, blocks[i].b})
      store(channel, channelOf(load(channel)));
}

}  // namespace

PinFill::PinFill(const Brush& brush)
    : mode_(static_cast<std::uint32_t>(brush.mode())), kind_(static_cast<std::uint32_t>(brush.kind())) {}

bool PinFill::prepare(const PaintContext&, const BackgroundSource&) { return true; }

void PinFill::release() {}

std::uint32_t PinFill::requirements() const { return 0; }

void PinFill::composite(const PixelBatch& batch, FillScratch& scratch) const {
  // A plain color is no work to skip.
  if (kind() == BrushKind::color) return compositeRun(batch, scratch);
  // Runs of blocks with and without weights: half circles and outlines are shaded where they show alone.
  for (std::size_t first = 0, end = 0; first < batch.blocks; first = end) {
    const bool painted = isPainted(batch, first);
    end = first + 1;
    while (end < batch.blocks && isPainted(batch, end) == painted) ++end;
    if (painted)
      compositeRun(batch.part(first, end - first), scratch);
    else
      limitChannels(batch.color + first, end - first);
  }
}

void PinFill::compositeRun(const PixelBatch& batch, FillScratch& scratch) const {
  const Shading shading = shade(batch, scratch);
  const Float8 one = splat(1.0f);
  switch (static_cast<BlendMode>(mode_)) {
    case BlendMode::add:
      return merge(shading, batch, [](Float8 d, Float8 s, Float8 w) { return fma(w, s, d); });
    case BlendMode::multiply:
      return merge(shading, batch, [one](Float8 d, Float8 s, Float8 w) { return d * fma(w, s, one); });
    case BlendMode::mix:
      return merge(shading, batch, [](Float8 d, Float8 s, Float8 w) { return fma(s - d, w, d); });
    case BlendMode::screen:
      return merge(shading, batch,
                   [one](Float8 d, Float8 s, Float8 w) { return one - fnma(w, s, one) * (one - d); });
  }
  merge(shading, batch, [](Float8 d, Float8, Float8) { return d; });
}

}  // namespace orv::hdri::blockedAVX2
