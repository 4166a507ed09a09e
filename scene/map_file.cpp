#include "scene/map_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

#include "orvrender/files/ImageError.h"
#include "orvrender/images/ImageModule.h"
#include "scene/SceneErrors.h"
#include "scene/exr_file.h"
#include "scene/tone_map.h"

namespace orv::scene {
namespace {

static_assert(std::endian::native == std::endian::little,
              "PFM files are written in the machine's byte order");

constexpr std::string_view kExrCompressions[] = {"none",  "rle", "zips", "zip",  "piz",
                                                 "pxr24", "b44", "b44a", "dwaa", "dwab"};
constexpr std::string_view kTiffCompressions[] = {"none", "lzw", "packbits", "zip"};

constexpr MapFormat kFormats[] = {
    {.name = "EXR", .endings = {".exr"}, .compressions = kExrCompressions, .holdsHalves = true},
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

/// Rows between two reports.
constexpr int kBandRows = 256;

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

/// What a format can not hold is not begun.
void checkSize(int width, int height, const OutputFile& file, const MapFormat& format) {
  if (std::max(width, height) <= format.maxSide) return;
  throw FileError(file.name() + ": cannot be written: " + std::to_string(width) + " x " +
                  std::to_string(height) + " pixels; a " + std::string(format.name) + " file has at most " +
                  std::to_string(format.maxSide) + " a side");
}

/// All other formats are OpenImageIO's to write. @param pixels floats; of a preview bytes, sRGB.
void writePicture(const void* pixels, int width, int height, OutputFile& file, const MapFormat& format,
                  const MapFileOptions& options) {
  host::PictureToWrite picture;
  picture.path = file.path();
  picture.writer = format.plugin;
  picture.width = width;
  picture.height = height;
  picture.pixels = pixels;
  picture.isPreview = format.preview;
  picture.software = options.software;
  if (!format.compressions.empty())
    picture.compression = options.compression.empty() ? "zip" : options.compression;
  picture.quality = format.quality;
  picture.datesFiles = format.datesFiles;
  picture.write = [&](const void* data, std::size_t size, std::uint64_t offset) {
    return file.write(data, size, offset);
  };
  picture.read = [&](void* data, std::size_t size, std::uint64_t offset) {
    return file.read(data, size, offset);
  };
  picture.size = [&] { return file.size(); };
  picture.progress = [&](int rows) { report(options, rows, height); };

  std::string failure;
  try {
    failure = orv_image_module()->write(picture);
  } catch (const host::ImageError& error) {
    failure = error.what();
  }
  // A failure of the file itself comes first: what the library says of it does not name the reason.
  file.flushOrThrow();
  if (!failure.empty()) throw FileError(file.name() + ": cannot be written: " + failure);
}

/// Writes a map within its limit.
void writePixels(const hdri::EnvImage& map, OutputFile& file, const MapFormat& format,
                 const MapFileOptions& options) {
  if (format.name == "EXR") {
    writeExr(map, file, options);
  } else if (format.preview) {
    const std::vector<std::uint8_t> bytes = toneMap(map, options.exposureStops);
    writePicture(bytes.data(), map.width, map.height, file, format, options);
  } else if (format.plugin) {
    writePicture(map.pixels.data(), map.width, map.height, file, format, options);
  } else {
    writePfm(map, file, options);
  }
}

}  // namespace

bool MapFormat::knows(std::string_view compression) const {
  return std::find(compressions.begin(), compressions.end(), compression) != compressions.end();
}

std::span<const MapFormat> mapFormats() { return kFormats; }

const MapFormat* mapFormatOf(std::string_view path, const MapFormat* otherwise) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == std::string_view::npos || path[dot] == '/') return otherwise;
  std::string ending(path.substr(dot));
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  for (const MapFormat& format : kFormats)
    if (ending == format.endings[0] || ending == format.endings[1]) return &format;
  return otherwise;
}

std::vector<std::string_view> mapEndings() {
  std::vector<std::string_view> endings;
  for (const MapFormat& format : kFormats)
    for (const std::string_view ending : format.endings)
      if (!ending.empty()) endings.push_back(ending);
  return endings;
}

std::optional<float> limitOf(const MapFormat& format, const MapFileOptions& options) {
  if (!options.half || !format.holdsHalves) return options.limit;
  return std::min(options.limit.value_or(kLargestHalf), kLargestHalf);
}

ClampLoss writeMap(const hdri::EnvImage& map, OutputFile& file, const MapFormat& format,
                   const MapFileOptions& options) {
  checkSize(map.width, map.height, file, format);
  const std::optional<float> limit = limitOf(format, options);
  const ClampLoss loss = limit ? clampLoss(map, *limit) : ClampLoss();
  // Most maps need no copy.
  if (loss.pixels > 0) {
    writePixels(clamped(map, *limit), file, format, options);
  } else {
    writePixels(map, file, format, options);
  }
  file.finish();
  return loss;
}

void writePreview(const std::vector<std::uint8_t>& bytes, int width, int height, OutputFile& file,
                  const MapFormat& format, const MapFileOptions& options) {
  checkSize(width, height, file, format);
  writePicture(bytes.data(), width, height, file, format, options);
  file.finish();
}

}  // namespace orv::scene
