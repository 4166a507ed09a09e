#include "orvrender/images/HostImage.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "orvrender/images/ImageLibrary.h"

namespace orv::host {
namespace {

/// A coordinate in [0, 1]; 0 for one that is not a number.
float unit(float coordinate) { return lesser(greater(coordinate, 0.0f), 1.0f); }

constexpr float kMost = std::numeric_limits<float>::max();

Quad madeStraight(Quad associated) {
  const float alpha = associated[3];
  if (!(alpha > 0)) return associated;
  const Quad straight = associated / Quad{alpha, alpha, alpha, 1};
  return greater(lesser(straight, Quad{} + kMost), Quad{} - kMost);
}

/// Zero for what is not finite: the way from one pixel to the next was longer than the largest float.
Quad finiteOf(Quad channels) { return channels * 0.0f == Quad{} ? channels : Quad{}; }

/// The channels from the first one asked for on; behind the last there is nothing. Alpha is always the
/// image's.
Quad shifted(Quad channels, std::uint32_t firstChannel) {
  float out[8] = {channels[0], channels[1], channels[2], channels[3], 0, 0, 0, 0};
  Quad color = load(out + std::min(firstChannel, 4u));
  color[3] = channels[3];
  return color;
}

/// Makes colour finite and straight, picks the channels asked for and applies the gains.
void finish(Quad channels, bool hasAlpha, orvImage_lookup& lookup) {
  channels = finiteOf(channels);
  if (hasAlpha) channels = madeStraight(channels);
  if (lookup.firstChannel != 0) channels = shifted(channels, lookup.firstChannel);
  store(lookup.rgba, load(lookup.gain) * channels);
}

}  // namespace

const ImageContent& HostImage::askLibrary() const { return library_.contentFor(*this); }

const Pixels& HostImage::askLibraryToScale() const { return library_.scaledFor(*this); }

void HostImage::get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const {
  const Pixels& pixels = shown().rgb ? shown() : content().pixels;
  if (!pixels.rgb) {
    std::fill_n(rgb, 3, 0.0f);
    return;
  }
  // The nearest in the image, and where that lies among the pixels.
  const auto place = [](std::int32_t i, std::uint32_t size, std::uint32_t count) {
    const auto inside = static_cast<std::uint64_t>(std::clamp<std::int64_t>(i, 0, std::int64_t{size} - 1));
    return static_cast<std::size_t>(count == size ? inside : inside * count / size);
  };
  const std::size_t column = place(x, size_.width, pixels.width);
  const std::size_t row = place(y, size_.height, pixels.height);
  std::copy_n(pixels.rgb.get() + 3 * (row * pixels.width + column), 3, rgb);
}

void HostImage::set_filter_mode(orvFilter_mode mode) {
  mode_ = mode;
  content();
  if (mode == orvFilter_mode::anisotropic && !pyramid_) pyramid_ = library_.pyramidFor(*this);
}

[[gnu::always_inline]] inline Quad HostImage::samplePlain(float s, float t) const {
  const Pixels& pixels = content().pixels;
  if (!pixels.rgb) return Quad{0, 0, 0, 1};
  Quad color = bilinear(viewOf(pixels), s, t);
  if (!pixels.alpha) color[3] = 1;
  return color;
}

void HostImage::lookup(orvImage_lookup& lookup) const {
  // The sampler keeps to the image on its own; a v that is no number counts as 0.
  finish(samplePlain(lookup.u, 1.0f - greater(lookup.v, 0.0f)), has_alpha(), lookup);
}

void HostImage::lookup_filtered(orvImage_lookup& lookup) const {
  const float s = unit(lookup.u);
  const float t = 1.0f - unit(lookup.v);
  finish(pyramid_ ? pyramid_->sample(s, t, lookup) : samplePlain(s, t), has_alpha(), lookup);
}

std::uint64_t HostImage::memory() const { return library_.bytesOf(*this); }

std::uint32_t HostImage::mip_levels() const { return mipLevels(header_.width, header_.height); }

}  // namespace orv::host
