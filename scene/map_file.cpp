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

constexpr std::array<std::string_view, 8> kEndings{".exr",  ".hdr", ".pfm", ".tif",
                                                   ".tiff", ".png", ".jpg", ".jpeg"};
constexpr std::array kFormats{MapFormat::exr,  MapFormat::hdr, MapFormat::pfm,  MapFormat::tiff,
                              MapFormat::tiff, MapFormat::png, MapFormat::jpeg, MapFormat::jpeg};

constexpr std::array<std::string_view, 10> kExrCompressions{"none",  "rle", "zips", "zip",  "piz",
                                                            "pxr24", "b44", "b44a", "dwaa", "dwab"};
constexpr std::array<std::string_view, 4> kTiffCompressions{"none", "lzw", "packbits", "zip"};

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

const char* pluginName(MapFormat format) {
  switch (format) {
    case MapFormat::exr:
      return "openexr";
    case MapFormat::hdr:
      return "hdr";
    case MapFormat::tiff:
      return "tiff";
    case MapFormat::png:
      return "png";
    case MapFormat::jpeg:
      return "jpeg";
    case MapFormat::pfm:
      break;
  }
  return "";
}

OIIO::ImageSpec describe(const hdri::EnvImage& map, MapFormat format, const MapFileOptions& options) {
  const bool preview = format == MapFormat::png || format == MapFormat::jpeg;
  OIIO::ImageSpec spec(map.width, map.height, 3, preview ? OIIO::TypeUInt8 : OIIO::TypeFloat);
  spec.attribute("oiio:ColorSpace", preview ? "sRGB" : "Linear");
  if (!options.software.empty()) spec.attribute("Software", options.software);
  // Equal maps give equal files: the time of writing, which these formats' writers add, is the file system's
  // to tell.
  if (format == MapFormat::exr || format == MapFormat::tiff) spec.attribute("DateTime", "");
  if (!mapCompressions(format).empty())
    spec.attribute("compression", options.compression.empty() ? "zip" : options.compression);
  if (format == MapFormat::jpeg) spec.attribute("CompressionQuality", 95);
  if (format != MapFormat::exr) return spec;
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

/// JPEG's own library ends the program on a map that is too large, so it is not asked.
void checkSides(const hdri::EnvImage& map, const OutputFile& file, MapFormat format) {
  constexpr int kMaxJpegSide = 65500;
  if (format == MapFormat::jpeg && std::max(map.width, map.height) > kMaxJpegSide)
    throw FileError(file.path() + ": cannot be written: " + std::to_string(map.width) + " x " +
                    std::to_string(map.height) + " pixels; a JPEG file has at most " +
                    std::to_string(kMaxJpegSide) + " a side");
}

void writeWithPlugin(const hdri::EnvImage& map, OutputFile& file, MapFormat format,
                     const MapFileOptions& options) {
  checkSides(map, file, format);
  OutputProxy proxy(file);
  const std::string plugin = pluginName(format);
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(plugin);
  if (!output) throw FileError(file.path() + ": cannot be written: " + OIIO::geterror());
  const OIIO::ImageSpec spec = describe(map, format, options);
  bool good = output->set_ioproxy(&proxy) && output->open(file.path(), spec);
  if (good && spec.format == OIIO::TypeUInt8) {
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

std::span<const std::string_view> mapEndings() { return kEndings; }

std::optional<MapFormat> mapFormatOf(std::string_view path) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == std::string_view::npos || path[dot] == '/') return std::nullopt;
  std::string ending(path.substr(dot));
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const auto at = std::find(kEndings.begin(), kEndings.end(), ending);
  if (at == kEndings.end()) return std::nullopt;
  return kFormats[static_cast<std::size_t>(at - kEndings.begin())];
}

std::span<const std::string_view> mapCompressions(MapFormat format) {
  if (format == MapFormat::exr) return kExrCompressions;
  if (format == MapFormat::tiff) return kTiffCompressions;
  return {};
}

void writeMap(const hdri::EnvImage& map, OutputFile& file, MapFormat format, const MapFileOptions& options) {
  if (format == MapFormat::pfm)
    writePfm(map, file, options);
  else
    writeWithPlugin(map, file, format, options);
  file.finish();
}

}  // namespace orv::scene
