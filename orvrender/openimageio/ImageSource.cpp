#include "orvrender/openimageio/ImageSource.h"

#include <algorithm>
#include <string_view>

#include "orvrender/files/ImageError.h"
#include "orvrender/openimageio/check_jpeg.h"

namespace orv::host {
namespace {

constexpr int kMostParts = 1000;
constexpr std::int64_t kMostTilePixels = std::int64_t{1} << 24;

/// How an integer image stands for light. Files that do not say are taken for sRGB up to 16 bits.
Encoding encodingOf(const OIIO::ImageSpec& spec) {
  const std::string space = spec.get_string_attribute("oiio:ColorSpace");
  const std::string_view name = space;
  if (name == "linear" || name == "Linear" || name == "scene_linear") return {};
  if (name.starts_with("Gamma")) {
    const double gamma = static_cast<double>(spec.get_float_attribute("oiio:Gamma", 2.2f));
    return {Encoding::Kind::power, gamma > 0.1 && gamma < 10 ? gamma : 2.2};
  }
  return {Encoding::Kind::srgb, 1.0};
}

bool isCoded(const OIIO::ImageSpec& spec) {
  const auto type = spec.format.basetype;
  return type == OIIO::TypeDesc::UINT8 || type == OIIO::TypeDesc::UINT16;
}

}  // namespace

ImageSource::ImageSource(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                         const ImageLimits& limits)
    : kind_(file.kind) {
  open(path);
  choosePart();
  checkSizes(limits, file.bytes);
  if (kind_ == FileKind::jpeg) checkJpeg(path);
  if (profile == orvTexture_profile::environment && isCoded(spec_)) encoding_ = encodingOf(spec_);
  isStraight_ = spec_.get_int_attribute("oiio:UnassociatedAlpha") != 0;
}

void ImageSource::open(const std::string& path) {
  if (kind_ == FileKind::radiance && holdsXyz(path)) {
    throw ImageError(
        "its pixels are CIE XYZ (FORMAT=32-bit_rle_xyze), no RGB; convert it, with Radiance's ra_xyze -r for "
        "example");
  }
  input_ = OIIO::ImageInput::create(namesOf(kind_).reader);
  if (!input_) {
    throw ImageError(std::string("there is no reader for ") + namesOf(kind_).title + " (" +
                     inOneLine(OIIO::geterror()) + "); install OpenImageIO with it");
  }
  // Alpha is associated here, after colour has become linear.
  OIIO::ImageSpec wishes;
  wishes.attribute("oiio:UnassociatedAlpha", 1);
  if (!input_->open(path, spec_, wishes)) failToRead(kind_, input_->geterror());
  static_cast<void>(input_->geterror());
}

void ImageSource::choosePart() {
  if (kind_ != FileKind::openexr) {
    channels_ = channelsByPlace(spec_.nchannels, spec_.alpha_channel);
    if (spec_.channelnames.size() >= 3)
      channels_ = channelsByName(spec_.channelnames, false).value_or(channels_);
    data_ = {0, 0, spec_.width, spec_.height};
    map_ = data_;
    return;
  }

  // The first part with colour of its own, else the first with a layer that has.
  std::string channels;
  for (const bool layers : {false, true}) {
    for (int part = 0; part < kMostParts && input_->seek_subimage(part, 0); ++part) {
      const OIIO::ImageSpec& spec = input_->spec();
      if (!layers) channels += (part > 0 ? "; " : "") + channelList(spec.channelnames);
      const auto found = spec.deep ? std::nullopt : channelsByName(spec.channelnames, layers);
      if (!found) continue;
      part_ = part;
      spec_ = spec;
      channels_ = *found;
      data_ = {spec.x, spec.y, std::int64_t{spec.x} + spec.width, std::int64_t{spec.y} + spec.height};
      map_ = {spec.full_x, spec.full_y, std::int64_t{spec.full_x} + spec.full_width,
              std::int64_t{spec.full_y} + spec.full_height};
      return;
    }
    static_cast<void>(input_->geterror());
  }
  if (channels.size() > 200) channels.replace(200, std::string::npos, "...");
  throw ImageError("it has no part with flat colour channels R, G, B or Y (it has: " + channels +
                   "); write one");
}

void ImageSource::checkSizes(const ImageLimits& limits, std::size_t fileBytes) const {
  checkSize("image", map_, limits);
  checkSize("data window", data_, limits);
  if (spec_.depth > 1) throw ImageError("it is a volume; give a flat image");
  if (channels_.begin() < 0 || channels_.end() > spec_.nchannels)
    throw ImageError("it has no channels; save it again");
  const std::int64_t tilePixels = std::int64_t{spec_.tile_width} * spec_.tile_height;
  if (spec_.tile_width < 0 || spec_.tile_height < 0 || tilePixels > kMostTilePixels) {
    throw ImageError("its tiles of " + sizeText(spec_.tile_width, spec_.tile_height) +
                     " pixels are too large; save it with smaller ones");
  }

  // A header that promises more pixels than so few bytes can hold must not cost memory.
  const auto columns = static_cast<std::uint64_t>(data_.width());
  const auto rows = static_cast<std::uint64_t>(data_.height());
  const std::uint64_t pixelBytes = rows * columns * spec_.pixel_bytes(true);
  const std::string compression = spec_.get_string_attribute("compression", "none");
  switch (kind_) {
    case FileKind::png:
      // Samples of fewer than 8 bits come as 8, and a palette's as several channels.
      return checkWeight(kind_, spec_.format == OIIO::TypeDesc::UINT16 ? pixelBytes : rows * columns / 8,
                         "zip", fileBytes);
    case FileKind::pfm:
      return checkWeight(kind_, rows * columns * 4 * static_cast<std::uint64_t>(spec_.nchannels), "none",
                         fileBytes);
    case FileKind::radiance: {
      // Rows of some widths are runs of 127 equal bytes at best, each of four channels for itself.
      const bool hasRuns = columns >= 8 && columns <= 0x7FFF;
      const std::uint64_t rowBytes = hasRuns ? std::min(4 * columns, 4 + 8 * (columns / 127)) : 4 * columns;
      return checkWeight(kind_, rows * rowBytes, "none", fileBytes);
    }
    case FileKind::jpeg:
      // A block of 64 pixels takes a bit at least, and blocks of half a picture's size count for more.
      return checkWeight(kind_, rows * columns / 4096, "none", fileBytes);
    case FileKind::tiff: {
      // Some samples are packed in a bit. JPEG has its own measure, as above.
      const auto bits =
          static_cast<std::uint64_t>(std::max(spec_.get_int_attribute("oiio:BitsPerSample", 1), 1));
      const std::uint64_t stored = rows * columns * bits / 8;
      return compression == "jpeg" ? checkWeight(kind_, rows * columns / 4096, "none", fileBytes)
                                   : checkWeight(kind_, stored, compression, fileBytes);
    }
    case FileKind::openexr:
      // The lossy compressions have a quality behind their name; sub-sampled channels have a quarter at
      // least.
      return checkWeight(kind_, pixelBytes / 4, compression.substr(0, compression.find(':')), fileBytes);
  }
}

void ImageSource::require(bool done) {
  if (!done) failToRead(kind_, input_->geterror());
}

void ImageSource::readRows(std::int64_t y0, std::int64_t y1, const OIIO::TypeDesc& format, void* out,
                           OIIO::stride_t columnStride, OIIO::stride_t rowStride) {
  // Of files other than OpenEXR the reader counts rows from the file's own origin.
  const std::int64_t origin = kind_ == FileKind::openexr ? 0 : spec_.y;
  require(input_->read_scanlines(part_, 0, static_cast<int>(y0 + origin), static_cast<int>(y1 + origin), 0,
                                 channels_.begin(), channels_.end(), format, out, columnStride, rowStride));
}

void ImageSource::readTiles(const Window& window, const OIIO::TypeDesc& format, void* out) {
  const std::int64_t originX = kind_ == FileKind::openexr ? 0 : spec_.x;
  const std::int64_t originY = kind_ == FileKind::openexr ? 0 : spec_.y;
  require(input_->read_tiles(part_, 0, static_cast<int>(window.x0 + originX),
                             static_cast<int>(window.x1 + originX), static_cast<int>(window.y0 + originY),
                             static_cast<int>(window.y1 + originY), 0, 1, channels_.begin(), channels_.end(),
                             format, out));
}

void ImageSource::finish() {
  const std::string complaint = input_->geterror();
  // Stray bytes between a JPEG's segments cost no pixel.
  const bool harmless = complaint.empty() || complaint.find("extraneous bytes") != std::string::npos;
  if (!harmless) failToRead(kind_, complaint);
}

}  // namespace orv::host
