#include "orvrender/openimageio/read_picture.h"

#include <algorithm>
#include <vector>

#include "orvrender/files/image_rows.h"
#include "orvrender/openimageio/ImageSource.h"

namespace orv::host {
namespace {

constexpr std::int64_t kBlockBytes = std::int64_t{32} << 20;

/// Of codes, which readers unpack on one thread, so that a cancelled read ends soon.
constexpr std::int64_t kCodeBlockBytes = std::int64_t{1} << 20;

/// Puts blocks of file pixels into the image.
class BlockWriter {
 public:
  BlockWriter(const ImageSource& source, Pixels& out) : source_(source), out_(out) {
    const std::size_t codes = source.spec().format == OIIO::TypeDesc::UINT8 ? 256 : 65536;
    if (isCoded()) light_ = source.encoding().table(codes);
  }

  /// The type in which a block is read: codes of at most 16 bits as they are, all else as float.
  OIIO::TypeDesc format() const {
    return isCoded() ? source_.spec().format : OIIO::TypeDesc(OIIO::TypeDesc::FLOAT);
  }

  /// @param block the file pixels of `window`, packed, channels `begin()` to `end()`.
  void write(const Window& window, const std::byte* block) const {
    const Window inside = intersection(window, source_.map());
    if (inside.isEmpty()) return;
    const auto pixels = static_cast<std::uint64_t>(inside.width() * inside.height());
    forEachImageRow(static_cast<std::uint32_t>(inside.height()), pixels, [&](std::uint32_t row) {
      const std::int64_t y = inside.y0 + row;
      if (format() == OIIO::TypeDesc::UINT8) {
        writeCodes(window, inside, y, reinterpret_cast<const std::uint8_t*>(block));
      } else if (format() == OIIO::TypeDesc::UINT16) {
        writeCodes(window, inside, y, reinterpret_cast<const std::uint16_t*>(block));
      } else {
        writeFloats(window, inside, y, reinterpret_cast<const float*>(block));
      }
    });
  }

 private:
  bool isCoded() const {
    return source_.spec().format == OIIO::TypeDesc::UINT8 || source_.spec().format == OIIO::TypeDesc::UINT16;
  }

  /// Calls `pixel(from, rgb, alpha)` for each pixel of row y: the channels from the first that was read, and
  /// where colour and alpha go (alpha null without one).
  template <class Value, class Pixel>
  void forEach(const Window& window, const Window& inside, std::int64_t y, const Value* block,
               Pixel pixel) const {
    const std::int64_t stride = source_.channels().end() - source_.channels().begin();
    const Value* from = block + ((y - window.y0) * window.width() + (inside.x0 - window.x0)) * stride;
    const Window& map = source_.map();
    const std::int64_t first = (y - map.y0) * map.width() + (inside.x0 - map.x0);
    float* rgb = out_.rgb.get() + 3 * first;
    float* alpha = out_.alpha ? out_.alpha.get() + first : nullptr;
    for (std::int64_t x = inside.x0; x != inside.x1; ++x, from += stride, rgb += 3) {
      pixel(from, rgb, alpha);
      if (alpha) ++alpha;
    }
  }

  void writeFloats(const Window& window, const Window& inside, std::int64_t y, const float* block) const {
    const ColorChannels& channels = source_.channels();
    const int begin = channels.begin();
    forEach(window, inside, y, block, [&](const float* from, float* rgb, float* alpha) {
      rgb[0] = channels.red < 0 ? 0.0f : from[channels.red - begin];
      rgb[1] = channels.green < 0 ? 0.0f : from[channels.green - begin];
      rgb[2] = channels.blue < 0 ? 0.0f : from[channels.blue - begin];
      if (alpha) *alpha = from[channels.alpha - begin];
    });
  }

  template <class Code>
  void writeCodes(const Window& window, const Window& inside, std::int64_t y, const Code* block) const {
    const ColorChannels& channels = source_.channels();
    const int begin = channels.begin();
    const int colors[3] = {channels.red, channels.green, channels.blue};
    const double most = static_cast<double>(light_.size() - 1);
    // Colour that was multiplied by alpha while encoded has to be divided by it before it is decoded.
    const bool divide =
        out_.alpha && !source_.isStraight() && source_.encoding().kind != Encoding::Kind::linear;
    forEach(window, inside, y, block, [&](const Code* from, float* rgb, float* alpha) {
      const double a = alpha ? from[channels.alpha - begin] / most : 1.0;
      if (alpha) *alpha = static_cast<float>(a);
      for (int c = 0; c < 3; ++c) {
        if (colors[c] < 0) {
          rgb[c] = 0;
          continue;
        }
        const Code code = from[colors[c] - begin];
        if (divide && a > 0) {
          rgb[c] = static_cast<float>(source_.encoding().decode(std::min(code / most / a, 1.0)) * a);
        } else {
          rgb[c] = light_[code];
        }
      }
    });
  }

  const ImageSource& source_;
  Pixels& out_;
  std::vector<float> light_;  // of each code
};

/// Reads all that lies in the map, block after block.
void readBlocks(ImageSource& source, Pixels& out) {
  const BlockWriter writer(source, out);
  const OIIO::ImageSpec& spec = source.spec();
  const Window& data = source.data();
  const Window wanted = intersection(data, source.map());
  const bool tiled = spec.tile_width > 0;

  const std::int64_t pixelBytes = static_cast<std::int64_t>(writer.format().size()) *
                                  (source.channels().end() - source.channels().begin());
  const std::int64_t tileColumns = tiled ? spec.tile_width : data.width();
  const std::int64_t tileRows = tiled ? spec.tile_height : 16;
  const std::int64_t tilesWide = (data.width() + tileColumns - 1) / tileColumns;
  const bool coded = writer.format() != OIIO::TypeDesc(OIIO::TypeDesc::FLOAT);
  const std::int64_t blockBytes = coded ? kCodeBlockBytes : kBlockBytes;
  const std::int64_t tiles = std::max<std::int64_t>(1, blockBytes / (tileColumns * tileRows * pixelBytes));
  const std::int64_t columns = std::min(tiles, tilesWide) * tileColumns;
  const std::int64_t rows = std::max<std::int64_t>(1, tiles / tilesWide) * tileRows;

  const std::int64_t blockRows = std::min(rows, data.height());
  const std::int64_t blockColumns = std::min(columns, data.width());
  std::vector<std::byte> block(static_cast<std::size_t>(blockRows * blockColumns * pixelBytes));
  for (std::int64_t y = data.y0 + (wanted.y0 - data.y0) / rows * rows; y < wanted.y1; y += rows) {
    const std::int64_t yEnd = std::min(y + rows, data.y1);
    StopCheck::ask();
    if (!tiled) {
      source.readRows(y, yEnd, writer.format(), block.data());
      writer.write({data.x0, y, data.x1, yEnd}, block.data());
      continue;
    }
    for (std::int64_t x = data.x0 + (wanted.x0 - data.x0) / columns * columns; x < wanted.x1; x += columns) {
      StopCheck::ask();
      const Window window{x, y, std::min(x + columns, data.x1), yEnd};
      source.readTiles(window, writer.format(), block.data());
      writer.write(window, block.data());
    }
  }
}

/// Reads floats that lie in the file as they will in the image, without a step between.
bool readDirectly(ImageSource& source, Pixels& out) {
  const OIIO::ImageSpec& spec = source.spec();
  const Window& data = source.data();
  const Window& map = source.map();
  const Window wanted = intersection(data, map);
  const bool isFloat = spec.format.is_floating_point();
  const bool asStored = isFloat && spec.tile_width == 0 && !out.alpha && source.channels().areConsecutive();
  if (!asStored || wanted.x0 != data.x0 || wanted.x1 != data.x1) return false;

  constexpr std::int64_t kPixelBytes = 3 * sizeof(float);
  float* const first = out.rgb.get() + 3 * ((wanted.y0 - map.y0) * map.width() + (wanted.x0 - map.x0));
  const std::int64_t stride = map.width() * kPixelBytes;
  // Portions that keep all threads at work, for a reader may have some.
  constexpr std::int64_t kRows = 512;
  for (std::int64_t y = wanted.y0; y < wanted.y1; y += kRows) {
    StopCheck::ask();
    source.readRows(y, std::min(y + kRows, wanted.y1), OIIO::TypeDesc::FLOAT,
                    first + 3 * (y - wanted.y0) * map.width(), kPixelBytes, stride);
  }
  return true;
}

}  // namespace

FilePixels readPicture(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                       const ImageLimits& limits) {
  ImageSource source(path, file, profile, limits);
  FilePixels read{allocatePixels(source.map(), source.channels().alpha >= 0), source.isStraight(), 1};
  const Window wanted = intersection(source.data(), source.map());
  if (!covers(source.data(), source.map())) blacken(read.pixels);
  read.firstRow = static_cast<std::uint32_t>(wanted.isEmpty() ? 0 : wanted.y0 - source.map().y0);
  read.endRow = static_cast<std::uint32_t>(wanted.isEmpty() ? 0 : wanted.y1 - source.map().y0);
  if (!wanted.isEmpty() && !readDirectly(source, read.pixels)) readBlocks(source, read.pixels);
  source.finish();
  if (file.kind != FileKind::openexr) {
    read.orientation = source.spec().get_int_attribute("Orientation", 1);
  }
  return read;
}

}  // namespace orv::host
