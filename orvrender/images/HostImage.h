#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "host/orvImage.h"
#include "orvrender/files/Pixels.h"
#include "orvrender/images/MipPyramid.h"

namespace orv::host {

class ImageLibrary;

/// What is known of an image while its pixels are not in memory.
struct ImageHeader {
  std::string path;
  orvTexture_profile profile;
  std::uint32_t width;
  std::uint32_t height;
  bool hasAlpha;
};

struct ImageSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  friend bool operator==(const ImageSize&, const ImageSize&) = default;
};

/// What the users of one image share.
struct ImageContent {
  explicit ImageContent(Pixels given = {}) : pixels(std::move(given)), view(viewOf(pixels)) {
    static constexpr float kBlack[3]{};
    if (!pixels.rgb) view = {1, 1, kBlack, nullptr};
  }

  Pixels pixels;                        ///< `rgb` null: black, for want of memory
  PixelView view;                       ///< of them, or of a black one
  std::unique_ptr<MipPyramid> pyramid;  ///< once a user has chosen `anisotropic`

  std::size_t bytes() const { return pixels.bytes() + (pyramid ? pyramid->bytes() : 0); }
};

/// An image of the reference host as one of its users has it: its size and pixels are those of the file, or
/// scaled ones; its look-ups go to the file's. Until this user asks for pixels, the library may take them
/// back, and reads or scales them again then.
class HostImage final : public orvImage {
 public:
  /// The library and the header outlive the image. @param size which pixels it shows.
  HostImage(ImageLibrary& library, const ImageHeader& header, const ImageSize& size)
      : library_(library), header_(header), size_(size) {}
  HostImage(const HostImage&) = delete;
  HostImage& operator=(const HostImage&) = delete;

  /// A place outside the image reads the nearest pixel; so does each where there is no memory to scale them.
  void get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const override;
  /// Asks for pixels. The first choice of `anisotropic` makes the smaller copies, which users share; they
  /// stay as long as the pixels.
  void set_filter_mode(orvFilter_mode mode) override;
  std::uint32_t width() const override { return size_.width; }
  std::uint32_t height() const override { return size_.height; }
  bool has_alpha() const override { return header_.hasAlpha; }
  /// Null when there is no memory to scale the pixels, or to read them again after they were taken back.
  const float* pixels() const override { return shown().rgb.get(); }
  const char* path() const override { return header_.path.c_str(); }
  orvFilter_mode filter_mode() const override { return mode_; }
  void lookup(orvImage_lookup& lookup) const override;
  /// 0 while the pixels are not in memory.
  std::uint64_t memory() const override;
  orvTexture_profile profile() const override { return header_.profile; }
  std::uint32_t mip_levels() const override;
  /// As `lookup` until this user has chosen `anisotropic`.
  void lookup_filtered(orvImage_lookup& lookup) const override;

  const ImageSize& size() const { return size_; }

  /// For the library, under its lock: whether this user has asked for the file's pixels or for the scaled
  /// ones, which then stay, and what it gets when it first does.
  bool hasAsked() const { return content_.load(std::memory_order_relaxed) != nullptr; }
  bool hasAskedFor(const Pixels& scaled) const { return scaled_.load(std::memory_order_relaxed) == &scaled; }
  void give(const ImageContent& content) const { content_.store(&content, std::memory_order_release); }
  void give(const Pixels& scaled) const { scaled_.store(&scaled, std::memory_order_release); }

 private:
  bool isScaled() const { return size_ != ImageSize{header_.width, header_.height}; }
  const Pixels& shown() const { return isScaled() ? scaled() : content().pixels; }
  const Pixels& scaled() const {
    const Pixels* const scaled = scaled_.load(std::memory_order_acquire);
    return scaled ? *scaled : askLibraryToScale();
  }
  const ImageContent& content() const {
    const ImageContent* const content = content_.load(std::memory_order_acquire);
    return content ? *content : askLibrary();
  }
  const ImageContent& askLibrary() const;
  const Pixels& askLibraryToScale() const;
  /// Asks for the pixels first.
  [[gnu::noinline]] void lookupFirst(orvImage_lookup& lookup) const;

  ImageLibrary& library_;
  const ImageHeader& header_;
  const ImageSize size_;
  mutable std::atomic<const ImageContent*> content_{nullptr};  // null until asked for
  mutable std::atomic<const Pixels*> scaled_{nullptr};         // null until asked for
  const MipPyramid* pyramid_ = nullptr;
  orvFilter_mode mode_ = orvFilter_mode::bilinear;
};

}  // namespace orv::host
