#include "scene/map_file.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <vector>

#include "scene/SceneErrors.h"
#include "scene/tone_map.h"

namespace orv::scene {
namespace {

static_assert(std::endian::native == std::endian::little,
              "PFM files are written in the machine's byte order");

constexpr std::string_view kExrCompressions[] = {"none",  "rle", "zips", "zip",  "piz",
                                                 "pxr24", "b44", "b44a", "dwaa", "dwab"};
constexpr std::string_view kTiffCompressions[] = {"none", "lzw", "packbits", "zip"};

constexpr MapFormat kFormats[] = {
    {.name = "EXR",
     .endings = {".exr"},
     .plugin = "openexr",
     .compressions = kExrCompressions,
     .datesFiles = true,
     .tellsOrientation = true},
    {.name = "HDR", .endings = {".hdr"}, .plugin = "hdr"},
    {.name = "PFM", .endings = {".pfm"}},
    {.name = "TIFF",
     .endings = {".tif", ".tiff"},
     .plugin = "tiff",
     .compressions = kTiffCompressions,
     .datesFiles = true},
    {.name = "PNG", .endings = {".png"}, .plugin = "png", .preview = true},
    // JPEG's own library ends the program on a map that is too large, so it is not asked.
    {.name = "JPEG",
     .endings = {".jpg", ".jpeg"},
     .plugin = "jpeg",
     .preview = true,
     .quality = 95,
     .maxSide = 65500},
};

/// Rows handed over at once: enough for a compressor to keep several threads busy.
constexpr int kBandRows = 256;

/// Lets the image library write into an output file.
class OutputProxy final : public OIIO::Filesystem::IOProxy {
 public:
  explicit OutputProxy(OutputFile& file) : IOProxy(file.path(), Write), file_(file) {}

  const char* proxytype() const override { return "orvscene"; }
  void close() override { m_mode = Closed; }
  std::size_t write(const void* data, std::size_t size) override {
    const std::size_t written = pwrite(data, size, m_pos);
    m_pos += static_cast<std::int64_t>(written);
    return written;
  }
  std::size_t pwrite(const void* data, std::size_t size, std::int64_t offset) override {
    return offset >= 0 && file_.write(data, size, static_cast<std::uint64_t>(offset)) ? size : 0;
  }
  std::size_t read(void* data, std::size_t size) override {
    const std::size_t n = pread(data, size, m_pos);
    m_pos += static_cast<std::int64_t>(n);
    return n;
  }
  std::size_t pread(void* data, std::size_t size, std::int64_t offset) override {
    return offset >= 0 ? file_.read(data, size, static_cast<std::uint64_t>(offset)) : 0;
  }
  std::size_t size() const override { return file_.size(); }

 private:
  OutputFile& file_;
};

OIIO::ImageSpec describe(const hdri::EnvImage& map, const MapFormat& format, const MapFileOptions& options) {
  OIIO::ImageSpec spec(map.width, map.height, 3, format.preview ? OIIO::TypeUInt8 : OIIO::TypeFloat);
  spec.attribute("oiio:ColorSpace", format.preview ? "sRGB" : "Linear");
  if (!options.software.empty()) spec.attribute("Software", options.software);
  // Equal maps give equal files: the time of writing is the file system's to tell.
  if (format.datesFiles) spec.attribute("DateTime", "");
  if (!format.compressions.empty())
    spec.attribute("compression", options.compression.empty() ? "zip" : options.compression);
  if (format.quality > 0) spec.attribute("CompressionQuality", format.quality);
  if (!format.tellsOrientation) return spec;
  spec.attribute("orv:projection", "latlong");
  spec.attribute("orv:orientation", "centre +x, zenith +z, longitudes grow to the right");
  // Rec. 709 primaries and D65, x and y each.
  const float chromaticities[8] = {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f};
  spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), chromaticities);
  return spec;
}

void report(const MapFileOptions& options, int rows, int height) {
  if (options.progress) options.progress(static_cast<float>(rows) / static_cast<float>(height));
}

/// PFM: a text header, then rows of RGB floats from the bottom; the scale's sign tells the byte order.
void writePfm(const hdri::EnvImage& map, OutputFile& file, const MapFileOptions& options) {
  const std::string header =
      "PF\n" + std::to_string(map.width) + " " + std::to_string(map.height) + "\n-1.0\n";
  file.write(header.data(), header.size(), 0);
  const std::size_t rowBytes = static_cast<std::size_t>(map.width) * sizeof(hdri::Rgb);
  std::uint64_t offset = header.size();
  for (int y = map.height - 1; y >= 0; --y) {
    const auto* row = map.pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(map.width);
    if (!file.write(row, rowBytes, offset)) return;
    offset += rowBytes;
    if (y % kBandRows == 0) report(options, map.height - y, map.height);
  }
}

bool writeBands(OIIO::ImageOutput& output, const hdri::EnvImage& map, const OIIO::TypeDesc& type,
                const void* pixels, const MapFileOptions& options) {
  const std::size_t rowBytes = static_cast<std::size_t>(map.width) * 3 * type.size();
  for (int y = 0; y < map.height; y += kBandRows) {
    const int end = std::min(y + kBandRows, map.height);
    const auto* row = static_cast<const std::byte*>(pixels) + static_cast<std::size_t>(y) * rowBytes;
    if (!output.write_scanlines(y, end, 0, type, row)) return false;
    report(options, end, map.height);
  }
  return true;
}

void writeWithPlugin(const hdri::EnvImage& map, OutputFile& file, const MapFormat& format,
                     const MapFileOptions& options) {
  OutputProxy proxy(file);
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(std::string(format.plugin));
  if (!output) throw FileError(file.path() + ": cannot be written: " + OIIO::geterror());
  const OIIO::ImageSpec spec = describe(map, format, options);
  bool good = output->set_ioproxy(&proxy) && output->open(file.path(), spec);
  if (good && format.preview) {
    const std::vector<std::uint8_t> picture = toneMap(map, options.exposureStops);
    good = writeBands(*output, map, OIIO::TypeUInt8, picture.data(), options);
  } else if (good) {
    good = writeBands(*output, map, OIIO::TypeFloat, map.pixels.data(), options);
  }
  good = output->close() && good;
  // A failure of the file itself comes first: what the library says of it does not name the reason.
  file.flushOrThrow();
  if (!good) throw FileError(file.path() + ": cannot be written: " + output->geterror());
}

}  // namespace

bool MapFormat::knows(std::string_view compression) const {
  return std::find(compressions.begin(), compressions.end(), compression) != compressions.end();
}

std::span<const MapFormat> mapFormats() { return kFormats; }

const MapFormat* mapFormatOf(std::string_view path) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == std::string_view::npos || path[dot] == '/') return nullptr;
  std::string ending(path.substr(dot));
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  for (const MapFormat& format : kFormats)
    if (ending == format.endings[0] || ending == format.endings[1]) return &format;
  return nullptr;
}

std::vector<std::string_view> mapEndings() {
  std::vector<std::string_view> endings;
  for (const MapFormat& format : kFormats)
    for (const std::string_view ending : format.endings)
      if (!ending.empty()) endings.push_back(ending);
  return endings;
}

void writeMap(const hdri::EnvImage& map, OutputFile& file, const MapFormat& format,
              const MapFileOptions& options) {
  if (std::max(map.width, map.height) > format.maxSide)
    throw FileError(file.path() + ": cannot be written: " + std::to_string(map.width) + " x " +
                    std::to_string(map.height) + " pixels; a " + std::string(format.name) +
                    " file has at most " + std::to_string(format.maxSide) + " a side");
  if (format.plugin)
    writeWithPlugin(map, file, format, options);
  else
    writePfm(map, file, options);
  file.finish();
}

}  // namespace orv::scene
