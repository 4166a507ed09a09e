#include "fills/ImageFill.h"

#include <algorithm>
#include <cstddef>

#include "backgrounds/PaintContext.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "simd/transpose.h"

namespace orv::hdri::blockedAVX2 {

ImageFill::ImageFill(const ImageBrush& brush)
    : PinFill(brush), adjustment_(brush.adjustments()), path_(brush.path()) {}

bool ImageFill::prepare(const PaintContext& context, const BackgroundSource&) {
  release();
  image_ = context.loadImage(path_);
  if (!image_) return false;
  isFiltered_ = context.smoothing;
  image_->set_filter_mode(context.smoothing ? orvFilter_mode::anisotropic : orvFilter_mode::bilinear);
  return true;
}

void ImageFill::release() { image_.reset(); }

Shading ImageFill::shade(const PixelBatch& batch, FillScratch& scratch) const {
  orvImage_lookup lookups[kLanes];
  for (std::size_t i = 0; i < batch.blocks; ++i) lookUpBlock(batch, i, lookups, scratch);
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, scratch.weight};
}

void ImageFill::lookUpBlock(const PixelBatch& batch, std::size_t block, orvImage_lookup (&lookups)[kLanes],
                            FillScratch& scratch) const {
  const std::size_t first = 8 * block;
  const auto toUnit = [&](const float* plane) {
    return clamp01((load(plane + first) + splat(1.0f)) * splat(0.5f));
  };
  // Texture rows grow downward, the pin's second coordinate upward.
  const auto change = [&](int i) { return load(batch.changes[i] + first) * splat(i < 2 ? 0.5f : -0.5f); };
  // A look-up's first eight numbers.
  static_assert(offsetof(orvImage_lookup, widthT) == 7 * sizeof(float));
  Float8 places[kLanes] = {toUnit(batch.u), toUnit(batch.v), change(0),   change(1),
                           change(2),       change(3),       splat(1.0f), splat(1.0f)};
  transpose(places);
  for (std::size_t lane = 0; lane < kLanes; ++lane) storeUnaligned(&lookups[lane].u, places[lane]);

  const Float8 weight = load(batch.weight + first);
  const orvImage* const image = image_.get();
  const bool isFiltered = isFiltered_;
  const int asked = image ? bits(abs(weight) > zero8()) : 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    orvImage_lookup& lookup = lookups[lane];
    if (!(asked >> lane & 1))
      std::fill_n(lookup.rgba, 4, 0.0f);
    else if (isFiltered)
      image->lookup_filtered(lookup);
    else
      image->lookup(lookup);
  }
  Float8 rgba[4];
  loadColumns({lookups[0].rgba, lookups[1].rgba, lookups[2].rgba, lookups[3].rgba, lookups[4].rgba,
               lookups[5].rgba, lookups[6].rgba, lookups[7].rgba},
              0, rgba);
  Block& color = scratch.color[block];
  store(color.r, rgba[0]);
  store(color.g, rgba[1]);
  store(color.b, rgba[2]);
  store(scratch.weight + first, weight * rgba[3]);
}

}  // namespace orv::hdri::blockedAVX2
