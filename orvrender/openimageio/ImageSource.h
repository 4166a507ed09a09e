#pragma once

#include <OpenImageIO/imageio.h>

#include <cstdint>
#include <memory>
#include <string>

#include "host/orvImage.h"
#include "orvrender/files/ColorChannels.h"
#include "orvrender/files/FileKind.h"
#include "orvrender/files/image_checks.h"
#include "orvrender/openimageio/Encoding.h"

namespace orv::host {

/// An image file that is open at the part to be read, checked against the limits, with nothing of its pixels
/// read yet. Throws ImageError.
class ImageSource {
 public:
  ImageSource(const std::string& path, const FileFacts& file, orvTexture_profile profile,
              const ImageLimits& limits);

  FileKind kind() const { return kind_; }
  const OIIO::ImageSpec& spec() const { return spec_; }
  const ColorChannels& channels() const { return channels_; }
  const Encoding& encoding() const { return encoding_; }
  /// Whether the file's colour is not associated with its alpha.
  bool isStraight() const { return isStraight_; }
  /// The pixels that the file holds, and those of the image: an OpenEXR file tells them apart.
  const Window& data() const { return data_; }
  const Window& map() const { return map_; }

  /// Reads all columns of rows y0 to y1 of a file without tiles, channels `channels().begin()` to `.end()`.
  void readRows(std::int64_t y0, std::int64_t y1, const OIIO::TypeDesc& format, void* out,
                OIIO::stride_t columnStride = OIIO::AutoStride, OIIO::stride_t rowStride = OIIO::AutoStride);
  /// Reads whole tiles, or those parts of tiles that lie inside the data window, packed.
  void readTiles(const Window& window, const OIIO::TypeDesc& format, void* out);
  /// Throws when the reader has complained about pixels that it has filled in on its own.
  void finish();

 private:
  void open(const std::string& path);
  void choosePart();
  void checkSizes(const ImageLimits& limits, std::size_t fileBytes) const;
  void require(bool done);

  FileKind kind_;
  std::unique_ptr<OIIO::ImageInput> input_;
  OIIO::ImageSpec spec_;
  int part_ = 0;
  ColorChannels channels_;
  Encoding encoding_;
  bool isStraight_ = false;
  Window data_;
  Window map_;
};

}  // namespace orv::host
