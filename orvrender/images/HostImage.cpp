#include "orvrender/images/HostImage.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "orvrender/images/ImageLibrary.h"

namespace orv::host {
namespace {

/// Where a look-up is, right and down, 0 to 1 but that places right of the image or above it stay there; 0
/// for a coordinate that is not a number.
[[gnu::always_inline]] inline Quad placeOf(const orvImage_lookup& lookup) {
  static_assert(offsetof(orvImage_lookup, v) == offsetof(orvImage_lookup, u) + sizeof lookup.u);
  return greater(loadPair(&lookup.u), Quad{}) * Quad{1, -1} + Quad{0, 1};
}

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

void answer(Quad channels, orvImage_lookup& lookup) { store(lookup.rgba, load(lookup.gain) * channels); }

[[gnu::noinline]] void answerShifted(Quad channels, orvImage_lookup& lookup) {
  answer(shifted(channels, lookup.firstChannel), lookup);
}

/// Makes colour finite and straight, picks the channels asked for and applies the gains.
[[gnu::always_inline]] inline void finish(Quad channels, bool hasAlpha, orvImage_lookup& lookup) {
  channels = finiteOf(channels);
  if (hasAlpha) [[unlikely]]
    channels = madeStraight(channels);
  if (lookup.firstChannel != 0) [[unlikely]]
    return answerShifted(channels, lookup);
  answer(channels, lookup);
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

void HostImage::lookup(orvImage_lookup& lookup) const {
  const ImageContent* const content = content_.load(std::memory_order_acquire);
  if (!content) [[unlikely]]
    return lookupFirst(lookup);
  // The sampler keeps to the image on its own.
  finish(bilinear(content->view, placeOf(lookup)), content->view.alpha, lookup);
}

void HostImage::lookupFirst(orvImage_lookup& lookup) const {
  askLibrary();
  this->lookup(lookup);
}

void HostImage::lookup_filtered(orvImage_lookup& lookup) const {
  if (!pyramid_) [[unlikely]]
    return this->lookup(lookup);
  const Quad at = lesser(greater(placeOf(lookup), Quad{}), Quad{1, 1});
  finish(pyramid_->sample(at, lookup), pyramid_->level(0).alpha, lookup);
}

std::uint64_t HostImage::memory() const { return library_.bytesOf(*this); }

std::uint32_t HostImage::mip_levels() const { return mipLevels(header_.width, header_.height); }

}  // namespace orv::host
