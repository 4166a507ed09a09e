#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/orvImage.h"

namespace bench {

/// A picture in memory, twice as wide as high, with or without its array of pixels shown.
class ArrayImage final : public orvImage {
 public:
  ArrayImage(std::int64_t width, bool showsPixels)
      : width_(static_cast<std::uint32_t>(width)),
        rgb_(static_cast<std::size_t>(width * width / 2) * 3),
        showsPixels_(showsPixels) {
    for (std::size_t i = 0; i < rgb_.size(); ++i)
      rgb_[i] = static_cast<float>((i * 2654435761u) % 4096) / 512.0f;
  }

  void get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const override {
    const std::size_t i = static_cast<std::size_t>(y) * width_ + static_cast<std::size_t>(x);
    std::copy_n(&rgb_[3 * i], 3, rgb);
  }
  void set_filter_mode(orvFilter_mode) override {}
  std::uint32_t width() const override { return width_; }
  std::uint32_t height() const override { return width_ / 2; }
  bool has_alpha() const override { return false; }
  const float* pixels() const override { return showsPixels_ ? rgb_.data() : nullptr; }
  const char* path() const override { return ""; }
  orvFilter_mode filter_mode() const override { return orvFilter_mode::bilinear; }
  void lookup(orvImage_lookup&) const override {}
  std::uint64_t memory() const override { return rgb_.size() * sizeof(float); }
  orvTexture_profile profile() const override { return orvTexture_profile::environment; }
  std::uint32_t mip_levels() const override { return 1; }
  void lookup_filtered(orvImage_lookup&) const override {}

 private:
  std::uint32_t width_;
  std::vector<float> rgb_;
  bool showsPixels_;
};

}  // namespace bench
