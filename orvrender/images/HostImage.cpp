#include "orvrender/images/HostImage.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "orvrender/images/ImageLibrary.h"

namespace orv::host {
namespace {

/// A coordinate in [0, 1]; 0 for one that is not a number.
float unit(float coordinate) { return coordinate > 0 ? std::min(coordinate, 1.0f) : 0.0f; }

/// The two pixels around a place on an axis of `size` pixels, whose centres lie at (i + 0.5) / size, and the
/// second one's weight. Beyond the outer centres both are the outer pixel.
struct Neighbours {
  std::size_t first;
  std::size_t second;
  float weight;
};

Neighbours neighbours(float coordinate, std::uint32_t size) {
  const float place = std::max(coordinate * static_cast<float>(size) - 0.5f, 0.0f);
  const auto first = std::min(static_cast<std::uint32_t>(place), size - 1);
  const auto second = std::min(first + 1, size - 1);
  return {first, second, place - static_cast<float>(first)};
}

float mix(float a, float b, float weight) { return a + (b - a) * weight; }

/// Makes colour straight, picks the channels asked for and applies the gains.
void finish(const float associated[4], bool hasAlpha, orvImage_lookup& lookup) {
  float channels[4] = {associated[0], associated[1], associated[2], associated[3]};
  if (hasAlpha && associated[3] > 0) {
    for (int c = 0; c < 3; ++c) {
      const float straight = associated[c] / associated[3];
      constexpr float kMost = std::numeric_limits<float>::max();
      channels[c] = std::clamp(straight, -kMost, kMost);
    }
  }
  // Behind the last channel there is nothing; alpha is always the image's.
  for (std::uint32_t c = 0; c < 3; ++c) {
    const std::uint32_t channel = lookup.firstChannel < 4 ? lookup.firstChannel + c : 4;
    lookup.rgba[c] = lookup.gain[c] * (channel < 4 ? channels[channel] : 0.0f);
  }
  lookup.rgba[3] = lookup.gain[3] * channels[3];
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
  if (mode == orvFilter_mode::anisotropic && !filtered_) filtered_ = library_.filtered(*this);
}

void HostImage::lookup(orvImage_lookup& lookup) const {
  float rgba[4];
  sampleBilinear(unit(lookup.u), 1.0f - unit(lookup.v), rgba);
  finish(rgba, has_alpha(), lookup);
}

void HostImage::lookup_filtered(orvImage_lookup& lookup) const {
  const float s = unit(lookup.u);
  const float t = 1.0f - unit(lookup.v);
  float rgba[4];
  if (!filtered_ || !filtered_->sample(s, t, lookup, rgba)) sampleBilinear(s, t, rgba);
  finish(rgba, has_alpha(), lookup);
}

std::uint64_t HostImage::memory() const { return library_.bytesOf(*this); }

std::uint32_t HostImage::mip_levels() const { return mipLevels(header_.width, header_.height); }

void HostImage::sampleBilinear(float s, float t, float rgba[4]) const {
  const Pixels& pixels = content().pixels;
  if (!pixels.rgb) {
    std::fill_n(rgba, 3, 0.0f);
    rgba[3] = 1;
    return;
  }
  const Neighbours column = neighbours(s, pixels.width);
  const Neighbours row = neighbours(t, pixels.height);
  const std::size_t upper = row.first * pixels.width;
  const std::size_t lower = row.second * pixels.width;
  const auto between = [&](const float* plane, std::size_t channels, std::size_t c) {
    const auto at = [&](std::size_t start, std::size_t x) { return plane[(start + x) * channels + c]; };
    return mix(mix(at(upper, column.first), at(upper, column.second), column.weight),
               mix(at(lower, column.first), at(lower, column.second), column.weight), row.weight);
  };
  for (std::size_t c = 0; c < 3; ++c) rgba[c] = between(pixels.rgb.get(), 3, c);
  rgba[3] = pixels.alpha ? between(pixels.alpha.get(), 1, 0) : 1.0f;
}

}  // namespace orv::host
