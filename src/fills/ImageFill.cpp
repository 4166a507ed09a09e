#include "fills/ImageFill.h"

#include <cmath>
#include <cstring>

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
  alignas(32) float changes[4][kLanes];
  // Texture rows grow downward, the pin's second coordinate upward.
  for (int i = 0; i < 4; ++i) store(changes[i], load(batch.changes[i] + first) * splat(i < 2 ? 0.5f : -0.5f));

  alignas(32) float answers[kLanes][4];
  const orvImage* const image = image_.get();
  const auto lookUp = lookup_;
  const float* const weight = batch.weight + first;
  orvImage_lookup lookup;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    float* const answer = answers[lane];
    if (!image || !(std::abs(weight[lane]) > 0.0f)) {
      answer[0] = answer[1] = answer[2] = answer[3] = 0;
      continue;
    }
    lookup.u = u[lane];
    lookup.v = v[lane];
    lookup.dsdx = changes[0][lane];
    lookup.dsdy = changes[1][lane];
    lookup.dtdx = changes[2][lane];
    lookup.dtdy = changes[3][lane];
    (image->*lookUp)(lookup);
    std::memcpy(answer, lookup.rgba, sizeof lookup.rgba);
  }
  Float8 rgba[4];
  loadColumns(
      {answers[0], answers[1], answers[2], answers[3], answers[4], answers[5], answers[6], answers[7]}, 0,
      rgba);
  Block& color = scratch.color[block];
  store(color.r, rgba[0]);
  store(color.g, rgba[1]);
  store(color.b, rgba[2]);
  store(scratch.weight + first, load(weight) * rgba[3]);
}

}  // namespace orv::hdri::blockedAVX2
