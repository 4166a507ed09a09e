#include "orvrender/openimageio/write_picture.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <memory>

namespace orv::host {
namespace {

/// Rows handed over at once: enough for a compressor to keep several threads busy.
constexpr int kBandRows = 256;

/// Lets the image library write into the caller's file.
class PictureProxy final : public OIIO::Filesystem::IOProxy {
 public:
  explicit PictureProxy(const PictureToWrite& picture) : IOProxy(picture.path, Write), picture_(picture) {}

  const char* proxytype() const override { return "orvhdri"; }
  void close() override { m_mode = Closed; }
  std::size_t write(const void* data, std::size_t size) override {
    const std::size_t written = pwrite(data, size, m_pos);
    m_pos += static_cast<std::int64_t>(written);
    return written;
  }
  std::size_t pwrite(const void* data, std::size_t size, std::int64_t offset) override {
    return offset >= 0 && picture_.write(data, size, static_cast<std::uint64_t>(offset)) ? size : 0;
  }
  std::size_t read(void* data, std::size_t size) override {
    const std::size_t n = pread(data, size, m_pos);
    m_pos += static_cast<std::int64_t>(n);
    return n;
  }
  std::size_t pread(void* data, std::size_t size, std::int64_t offset) override {
    return offset >= 0 ? picture_.read(data, size, static_cast<std::uint64_t>(offset)) : 0;
  }
  std::size_t size() const override { return picture_.size(); }

 private:
  const PictureToWrite& picture_;
};

OIIO::ImageSpec specOf(const PictureToWrite& picture) {
  OIIO::ImageSpec spec(picture.width, picture.height, 3,
                       picture.isPreview ? OIIO::TypeUInt8 : OIIO::TypeFloat);
  spec.attribute("oiio:ColorSpace", picture.isPreview ? "sRGB" : "Linear");
  if (!picture.software.empty()) spec.attribute("Software", picture.software);
  // Equal pictures give equal files: the time of writing is the file system's to tell.
  if (picture.datesFiles) spec.attribute("DateTime", "");
  if (!picture.compression.empty()) spec.attribute("compression", picture.compression);
  // Dither leaves little that a longer search finds: half the time for 5 % more bytes.
  spec.attribute("png:compressionLevel", 4);
  if (picture.quality > 0) spec.attribute("CompressionQuality", picture.quality);
  return spec;
}

bool writeBands(OIIO::ImageOutput& output, const PictureToWrite& picture) {
  const OIIO::TypeDesc type = output.spec().format;
  const std::size_t rowBytes = static_cast<std::size_t>(picture.width) * 3 * type.size();
  for (int y = 0; y < picture.height; y += kBandRows) {
    const int end = std::min(y + kBandRows, picture.height);
    const auto* const row =
        static_cast<const std::byte*>(picture.pixels) + static_cast<std::size_t>(y) * rowBytes;
    if (!output.write_scanlines(y, end, 0, type, row)) return false;
    picture.progress(end);
  }
  return true;
}

}  // namespace

std::string writePicture(const PictureToWrite& picture) {
  PictureProxy proxy(picture);
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(picture.writer);
  if (!output) return OIIO::geterror();
  bool good = output->set_ioproxy(&proxy) && output->open(picture.path, specOf(picture));
  good = good && writeBands(*output, picture);
  good = output->close() && good;
  return good ? std::string() : inOneLine(output->geterror());
}

}  // namespace orv::host
