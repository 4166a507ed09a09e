#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/orvImage.h"
#include "orvrender/images/FilteredLookup.h"
#include "orvrender/images/Pixels.h"

namespace orv::host {

/// An image of the reference host.
class HostImage final : public orvImage {
 public:
  HostImage(std::string path, orvTexture_profile profile, Pixels pixels);
  ~HostImage();
  HostImage(const HostImage&) = delete;
  HostImage& operator=(const HostImage&) = delete;

  /// A place outside the image reads the nearest pixel.
  void get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const override;
  /// The first choice of `anisotropic` makes the smaller copies; they stay for the image's life.
  void set_filter_mode(orvFilter_mode mode) override;
  std::uint32_t width() const override { return pixels_.width; }
  std::uint32_t height() const override { return pixels_.height; }
  bool has_alpha() const override { return pixels_.alpha != nullptr; }
  const float* pixels() const override { return pixels_.rgb.get(); }
  const char* path() const override { return path_.c_str(); }
  orvFilter_mode filter_mode() const override { return mode_; }
  void lookup(orvImage_lookup& lookup) const override;
  std::uint64_t memory() const override;
  orvTexture_profile profile() const override { return profile_; }
  std::uint32_t mip_levels() const override;
  /// As `lookup` until `anisotropic` has been chosen.
  void lookup_filtered(orvImage_lookup& lookup) const override;

 private:
  void sampleBilinear(float s, float t, float rgba[4]) const;

  std::string path_;
  orvTexture_profile profile_;
  orvFilter_mode mode_ = orvFilter_mode::bilinear;
  Pixels pixels_;
  std::unique_ptr<FilteredLookup> filtered_;
};

}  // namespace orv::host
