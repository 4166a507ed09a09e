#pragma once

#include <cstdint>

class orvScene;

/// How the host treats a file's encoding when it loads an image.
enum class orvTexture_profile : std::uint32_t {
  data = 0,         ///< pixels as stored
  environment = 1,  ///< scene-linear RGB; encoded files (sRGB) are linearised
};

/// How a host image filters its look-ups.
enum class orvFilter_mode : std::uint32_t {
  bilinear = 1,     ///< four nearest pixels of the full image
  anisotropic = 5,  ///< mip-mapped, filtered over the footprint
};

/// One look-up: where, how wide, how, and what came of it. A caller sets everything but the result.
struct orvImage_lookup {
  float u = 0;  ///< 0 at the left edge of the image, 1 at its right edge
  float v = 0;  ///< 0 at the bottom edge, 1 at the top edge

  // Footprint of the pixel being shaded in texture coordinates s = u, t = 1 - v (t grows downward).
  float dsdx = 0;
  float dsdy = 0;
  float dtdx = 0;
  float dtdy = 0;

  float widthS = 1;                 ///< scale of the footprint along s
  float widthT = 1;                 ///< scale of the footprint along t
  std::uint32_t conservative = 1;   ///< 1: widen rather than alias where the footprint is uncertain
  std::uint32_t firstChannel = 0;   ///< first channel read
  std::uint32_t maxAnisotropy = 8;  ///< longest allowed ratio of the footprint's axes
  float gain[4] = {1, 1, 1, 1};     ///< factors for red, green, blue and alpha

  float rgba[4] = {0, 0, 0, 0};  ///< result: straight (unassociated) colour and alpha; alpha is 1 without one
};

/// An image that the host has loaded: scene-linear RGB floats, finite, possibly with an alpha channel. The
/// host owns it; `orv_image_free` hands it back. All operations but the second are callable from many
/// threads. The order of operations is part of the interface.
class orvImage {
 public:
  /// 1: reads the pixel (x, y), row 0 at the top, into three floats (red, green, blue), associated with
  /// alpha.
  virtual void get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const = 0;
  /// 2: chooses how `lookup` and `lookup_filtered` filter; called before look-ups start, on one thread.
  virtual void set_filter_mode(orvFilter_mode mode) = 0;
  /// 3: columns.
  virtual std::uint32_t width() const = 0;
  /// 4: rows.
  virtual std::uint32_t height() const = 0;
  /// 5: whether the file has an alpha channel.
  virtual bool has_alpha() const = 0;
  /// 6: width x height interleaved RGB floats associated with alpha, rows packed from the top; lives as long
  /// as the image.
  virtual const float* pixels() const = 0;
  /// 7: the path that the image was loaded from, zero-terminated; lives as long as the image.
  virtual const char* path() const = 0;
  /// 8: the filter mode chosen last.
  virtual orvFilter_mode filter_mode() const = 0;
  /// 9: plain look-up, bilinear between the four nearest pixels, clamped at the edges; the footprint is
  /// ignored.
  virtual void lookup(orvImage_lookup& lookup) const = 0;
  /// 10: bytes of memory that the image holds.
  virtual std::uint64_t memory() const = 0;
  /// 11: how the file's encoding was treated.
  virtual orvTexture_profile profile() const = 0;
  /// 12: how many mip levels filtered look-ups use.
  virtual std::uint32_t mip_levels() const = 0;
  /// 13: filtered look-up, mip-mapped and anisotropic from the footprint, clamped at the edges.
  virtual void lookup_filtered(orvImage_lookup& lookup) const = 0;

 protected:
  ~orvImage() = default;
};

extern "C" {

/// Loads the image at `path` (UTF-8), or finds it in the host's cache when `cached`.
/// @param options reserved, null.
/// @return the image, or null with the reason in the host's log. Callable from one thread at a time.
orvImage* orv_image_load(orvScene* scene, const char* path, orvTexture_profile profile, bool cached,
                         const void* options);

/// Hands an image back. @param discard true drops it from the cache as well.
void orv_image_free(orvScene* scene, orvImage* image, bool discard);

/// Brackets calls of `orv_image_free`: `keep` true tells the host that images freed until the closing call
/// (`keep` false) are likely to be asked for again. @param discardAll true empties the cache.
void orv_image_free_mode(orvScene* scene, bool keep, bool discardAll);

}  // extern "C"
