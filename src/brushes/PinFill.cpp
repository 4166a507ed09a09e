#include "brushes/PinFill.h"

#include <cstring>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Merges colour s of weight w into the pixels d: `blend(d, s, w)` a channel, raised to 0. A pixel whose
/// weight is 0 or no number keeps its colour whatever the fill's is, so that a block shows nothing outside
/// its pin.
template <typename Blend>
void merge(const Shading& shading, std::size_t blocks, Block* pixels, const Blend& blend) {
  const Block* colour = shading.colour;
  for (std::size_t i = 0; i < blocks; ++i, colour += shading.step) {
    Block& d = pixels[i];
    const Float8 w = load(shading.weight + 8 * i);
    const Mask8 painted = abs(w) > zero8();
    const auto channel = [&](float* below, const float* shaded) {
      const Float8 under = load(below);
      store(below, max(select(painted, blend(under, load(shaded), w), under), zero8()));
    };
    channel(d.r, colour->r);
    channel(d.g, colour->g);
    channel(d.b, colour->b);
  }
}

}  // namespace

PinFill::PinFill(const Brush& brush)
    : mode_(static_cast<std::uint32_t>(brush.mode())), kind_(static_cast<std::uint32_t>(brush.kind())) {}

bool PinFill::prepare(BlockedPainter&) { return true; }

void PinFill::release(BlockedPainter&) {}

std::uint32_t PinFill::requirements() const { return 0; }

void PinFill::shade(PixelBatch& context, Block& colour, float* weight) const {
  FillScratch scratch;
  const Shading shading = shadeRun(runOf(context), scratch);
  colour = *shading.colour;
  store(weight, load(shading.weight));
}

void PinFill::composite(PixelBatch& batch) const {
  FillScratch scratch;
  Block pixels;
  static_assert(sizeof pixels == sizeof batch.colour);
  std::memcpy(&pixels, batch.colour, sizeof pixels);
  compositeRun(runOf(batch), &pixels, scratch);
  std::memcpy(batch.colour, &pixels, sizeof pixels);
}

void PinFill::compositeRun(const PixelRun& run, Block* pixels, FillScratch& scratch) const {
  const Shading shading = shadeRun(run, scratch);
  const Float8 one = splat(1.0f);
  switch (static_cast<BlendMode>(mode_)) {
    case BlendMode::add:
      return merge(shading, run.blocks, pixels, [](Float8 d, Float8 s, Float8 w) { return fma(w, s, d); });
    case BlendMode::multiply:
      return merge(shading, run.blocks, pixels,
                   [one](Float8 d, Float8 s, Float8 w) { return d * fma(w, s, one); });
    case BlendMode::mix:
      return merge(shading, run.blocks, pixels,
                   [](Float8 d, Float8 s, Float8 w) { return fma(s - d, w, d); });
    case BlendMode::screen:
      return merge(shading, run.blocks, pixels,
                   [one](Float8 d, Float8 s, Float8 w) { return one - fnma(w, s, one) * (one - d); });
  }
  merge(shading, run.blocks, pixels, [](Float8 d, Float8, Float8) { return d; });
}

}  // namespace orv::hdri::blockedAVX2
