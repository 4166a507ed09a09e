#include "brushes/ImageFill.h"

#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "painter/BlockedPainter.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

ImageFill::ImageFill(const ImageBrush& brush)
    : PinFill(brush), adjustment_(brush.adjustments()), path_(brush.path()) {}

bool ImageFill::prepare(BlockedPainter& painter) {
  release(painter);
  image_ = painter.loadImage(path_).release();
  if (!image_) return false;
  if (painter.smoothing()) {
    lookup_ = &orvImage::lookup_filtered;
    image_->set_filter_mode(orvFilter_mode::anisotropic);
  } else {
    lookup_ = &orvImage::lookup;
    image_->set_filter_mode(orvFilter_mode::bilinear);
  }
  return true;
}

void ImageFill::release(BlockedPainter& painter) {
  if (image_) painter.freeImage(image_);
  image_ = nullptr;
}

Shading ImageFill::shadeRun(const PixelRun& run, FillScratch& scratch) const {
  for (std::size_t i = 0; i < run.blocks; ++i) lookUpBlock(run, i, scratch);
  adjustment_.apply(scratch.colour, run.blocks);
  return {scratch.colour, 1, scratch.weight};
}

void ImageFill::lookUpBlock(const PixelRun& run, std::size_t block, FillScratch& scratch) const {
  const std::size_t first = 8 * block;
  const auto toUnit = [&](const float* plane) {
    return clamp01((load(plane + first) + splat(1.0f)) * splat(0.5f));
  };
  alignas(32) float u[kLanes];
  alignas(32) float v[kLanes];
  store(u, toUnit(run.u));
  store(v, toUnit(run.v));

  Block& colour = scratch.colour[block];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const std::size_t pixel = first + lane;
    const float weight = run.weight[pixel];
    orvImage_lookup lookup;
    if (image_ && weight != 0.0f) {
      lookup.u = u[lane];
      lookup.v = v[lane];
      // Texture rows grow downward, the pin's second coordinate upward.
      lookup.dsdx = run.changes[0][pixel] * 0.5f;
      lookup.dsdy = run.changes[1][pixel] * 0.5f;
      lookup.dtdx = run.changes[2][pixel] * -0.5f;
      lookup.dtdy = run.changes[3][pixel] * -0.5f;
      (image_->*lookup_)(lookup);
    }
    colour.r[lane] = lookup.rgba[0];
    colour.g[lane] = lookup.rgba[1];
    colour.b[lane] = lookup.rgba[2];
    scratch.weight[pixel] = weight * lookup.rgba[3];
  }
}

}  // namespace orv::hdri::blockedAVX2
