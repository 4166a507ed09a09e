#include "scene/exr_dwa.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStringAttribute.h>
#include <ImfThreading.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "scene/SceneErrors.h"
#include "scene/exr_chunks.h"
#include "scene/exr_file.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

/// Rows handed over at once: a chunk of "dwab".
constexpr int kBandRows = 256;

class FileStream final : public Imf::OStream {
 public:
  explicit FileStream(OutputFile& file) : OStream(file.path().c_str()), file_(file) {}

  void write(const char* data, int size) override {
    if (!file_.write(data, static_cast<std::size_t>(size), position_))
      throw std::runtime_error("the file cannot be written");
    position_ += static_cast<std::uint64_t>(size);
  }
  std::uint64_t tellp() override { return position_; }
  void seekp(std::uint64_t position) override { position_ = position; }

 private:
  OutputFile& file_;
  std::uint64_t position_ = 0;
};

Imf::Header headerOf(const hdri::EnvImage& map, const MapFileOptions& options) {
  Imf::Header header(map.width, map.height);
  header.compression() = options.compression == "dwaa" ? Imf::DWAA_COMPRESSION : Imf::DWAB_COMPRESSION;
  for (const char* channel : {"B", "G", "R"})
    header.channels().insert(channel, Imf::Channel(options.half ? Imf::HALF : Imf::FLOAT));
  const auto& xy = kChromaticities;
  Imf::addChromaticities(header, {{xy[0], xy[1]}, {xy[2], xy[3]}, {xy[4], xy[5]}, {xy[6], xy[7]}});
  for (const auto& [name, value] : textAttributes(options)) header.insert(name, Imf::StringAttribute(value));
  if (isOpenExrEnvmap(options.layout, map.width, map.height)) Imf::addEnvmap(header, Imf::ENVMAP_LATLONG);
  return header;
}

/// Shows the rows from `y` on to the library. @param samples the first of row y, three a pixel: R, G, B.
template <class Sample>
Imf::FrameBuffer frame(const Sample* samples, int width, int y) {
  const std::size_t rowBytes = 3 * sizeof(Sample) * static_cast<std::size_t>(width);
  // It counts from row 0 on, and only reads.
  char* const first = reinterpret_cast<char*>(const_cast<Sample*>(samples));
  Imf::FrameBuffer buffer;
  std::size_t offset = 0;
  for (const char* channel : {"R", "G", "B"}) {
    buffer.insert(channel, Imf::Slice::Make(sizeof(Sample) == 2 ? Imf::HALF : Imf::FLOAT, first + offset,
                                            {0, y}, width, 1, 3 * sizeof(Sample), rowBytes));
    offset += sizeof(Sample);
  }
  return buffer;
}

void writePixels(Imf::OutputFile& output, const hdri::EnvImage& map, const MapFileOptions& options) {
  const auto width = static_cast<std::size_t>(map.width);
  std::vector<std::uint16_t> halves;
  for (int y = 0; y < map.height; y += kBandRows) {
    const int end = std::min(y + kBandRows, map.height);
    const auto* const samples =
        reinterpret_cast<const float*>(map.pixels.data() + static_cast<std::size_t>(y) * width);
    if (options.half) {
      halves.resize(3 * width * static_cast<std::size_t>(end - y));
      std::transform(samples, samples + halves.size(), halves.begin(), toHalf);
      output.setFrameBuffer(frame(halves.data(), map.width, y));
    } else {
      output.setFrameBuffer(frame(samples, map.width, y));
    }
    output.writePixels(end - y);
    if (options.progress) options.progress(static_cast<float>(end) / static_cast<float>(map.height));
  }
}

}  // namespace

void writeDwaExr(const hdri::EnvImage& map, OutputFile& file, const MapFileOptions& options) {
  const auto threads =
      static_cast<int>(tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism));
  Imf::setGlobalThreadCount(threads > 1 ? threads : 0);
  FileStream stream(file);
  std::string failure;
  try {
    Imf::OutputFile output(stream, headerOf(map, options), Imf::globalThreadCount());
    writePixels(output, map, options);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    failure = error.what();
  }
  // A failure of the file itself comes first: what the library says of it does not name the reason.
  file.flushOrThrow();
  if (!failure.empty()) throw FileError(file.path() + ": cannot be written: " + failure);
}

}  // namespace orv::scene
