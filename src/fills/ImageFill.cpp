#include "fills/ImageFill.h"

#include <cmath>

#include "backgrounds/PaintContext.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

ImageFill::ImageFill(const ImageBrush& brush)
    : PinFill(brush), adjustment_(brush.adjustments()), path_(brush.path()) {}

bool ImageFill::prepare(const PaintContext& context, const BackgroundSource&) {
  release();
  image_ = context.loadImage(path_);
  if (!image_) return false;
  lookup_ = context.smoothing ? &orvImage::lookup_filtered : &orvImage::lookup;
  image_->set_filter_mode(context.smoothing ? orvFilter_mode::anisotropic : orvFilter_mode::bilinear);
  return true;
}

void ImageFill::release() { image_.reset(); }

Shading ImageFill::shade(const PixelBatch& batch, FillScratch& scratch) const {
  for (std::size_t i = 0; i < batch.blocks; ++i) lookUpBlock(batch, i, scratch);
  adjustment_.apply(scratch.color, batch.blocks);
  return {scratch.color, 1, scratch.weight};
}

void ImageFill::lookUpBlock(const PixelBatch& batch, std::size_t block, FillScratch& scratch) const {
  const std::size_t first = 8 * block;
  const auto toUnit = [&](const float* plane) {
    return clamp01((load(plane + first) + splat(1.0f)) * splat(0.5f));
  };
  alignas(32) float u[kLanes];
  alignas(32) float v[kLanes];
  store(u, toUnit(batch.u));
  store(v, toUnit(batch.v));

  Block& color = scratch.color[block];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const std::size_t pixel = first + lane;
    const float weight = batch.weight[pixel];
    orvImage_lookup lookup;
    if (image_ && std::abs(weight) > 0.0f) {
      lookup.u = u[lane];
      lookup.v = v[lane];
      // Texture rows grow downward, the pin's second coordinate upward.
      lookup.dsdx = batch.changes[0][pixel] * 0.5f;
      lookup.dsdy = batch.changes[1][pixel] * 0.5f;
      lookup.dtdx = batch.changes[2][pixel] * -0.5f;
      lookup.dtdy = batch.changes[3][pixel] * -0.5f;
      (image_.get()->*lookup_)(lookup);
    }
    color.r[lane] = lookup.rgba[0];
    color.g[lane] = lookup.rgba[1];
    color.b[lane] = lookup.rgba[2];
    scratch.weight[pixel] = weight * lookup.rgba[3];
  }
}

}  // namespace orv::hdri::blockedAVX2
