#include "scene/exr_file.h"

#include <libdeflate.h>
#include <openexr.h>
#include <tbb/global_control.h>
#include <tbb/parallel_pipeline.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "maps/row_loop.h"
#include "scene/SceneErrors.h"
#include "scene/exr_chunks.h"
#include "scene/exr_dwa.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

// Level 4 takes a tenth more time than 2 for files that are at most 1 % smaller.
constexpr int kDeflateLevel = 2;
// The growth of a file for which half of its bytes are stored, which halves the time.
constexpr double kMostGrowth = 1.025;
// Rows that one task packs and compresses, where chunks are smaller.
constexpr int kBandRows = 16;

struct Compression {
  std::string_view name;
  exr_compression_t code;
};
constexpr Compression kCompressions[] = {{"none", EXR_COMPRESSION_NONE}, {"rle", EXR_COMPRESSION_RLE},
                                         {"zips", EXR_COMPRESSION_ZIPS}, {"zip", EXR_COMPRESSION_ZIP},
                                         {"piz", EXR_COMPRESSION_PIZ},   {"pxr24", EXR_COMPRESSION_PXR24},
                                         {"b44", EXR_COMPRESSION_B44},   {"b44a", EXR_COMPRESSION_B44A},
                                         {"dwaa", EXR_COMPRESSION_DWAA}, {"dwab", EXR_COMPRESSION_DWAB}};

exr_compression_t compressionOf(std::string_view name) {
  const auto* const found = std::find_if(std::begin(kCompressions), std::end(kCompressions),
                                         [&](const Compression& c) { return c.name == name; });
  return found == std::end(kCompressions) ? EXR_COMPRESSION_ZIP : found->code;
}

/// Which bytes of ZIP chunks are deflated. Those at even places, the last of the numbers' digits among them,
/// hardly shrink where light is noisy; the others are stored.
enum class Deflated { all, atOddPlaces };

/// An OpenEXR file that is being written into an output file.
class ExrOutput {
 public:
  explicit ExrOutput(OutputFile& file) : file_(file) {
    exr_context_initializer_t setup = EXR_DEFAULT_CONTEXT_INITIALIZER;
    setup.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
    setup.user_data = &file_;
    setup.write_fn = &write;
    require(exr_start_write(&context_, file_.path().c_str(), EXR_WRITE_FILE_DIRECTLY, &setup));
  }
  ~ExrOutput() { exr_finish(&context_); }
  ExrOutput(const ExrOutput&) = delete;
  ExrOutput& operator=(const ExrOutput&) = delete;

  exr_context_t context() const { return context_; }

  /// Writes the table of chunks. The context is gone afterwards.
  void finish() { require(exr_finish(&context_)); }

  /// A failure of the file itself comes first: what the library says of it does not name the reason.
  void require(exr_result_t result) const {
    if (result == EXR_ERR_SUCCESS) return;
    if (result == EXR_ERR_OUT_OF_MEMORY) throw std::bad_alloc();
    file_.flushOrThrow();
    throw FileError(file_.name() + ": cannot be written: " + exr_get_default_error_message(result));
  }

 private:
  static std::int64_t write(exr_const_context_t, void* file, const void* data, std::uint64_t size,
                            std::uint64_t offset, exr_stream_error_func_ptr_t) {
    return static_cast<OutputFile*>(file)->write(data, size, offset) ? static_cast<std::int64_t>(size) : -1;
  }

  OutputFile& file_;
  exr_context_t context_ = nullptr;
};

void writeHeader(const ExrOutput& output, const hdri::EnvImage& map, const MapFileOptions& options) {
  exr_context_t context = output.context();
  exr_attr_box2i_t window{};
  window.max.x = map.width - 1;
  window.max.y = map.height - 1;
  const exr_attr_v2f_t centre{};
  const auto& xy = kChromaticities;
  const exr_attr_chromaticities_t primaries = {xy[0], xy[1], xy[2], xy[3], xy[4], xy[5], xy[6], xy[7]};

  output.require(exr_add_part(context, nullptr, EXR_STORAGE_SCANLINE, nullptr));
  output.require(exr_initialize_required_attr(context, 0, &window, &window, 1, &centre, 1,
                                              EXR_LINEORDER_INCREASING_Y,
                                              compressionOf(options.compression)));
  for (const char* channel : {"B", "G", "R"}) {
    output.require(exr_add_channel(context, 0, channel, options.half ? EXR_PIXEL_HALF : EXR_PIXEL_FLOAT,
                                   EXR_PERCEPTUALLY_LOGARITHMIC, 1, 1));
  }
  output.require(exr_attr_set_chromaticities(context, 0, "chromaticities", &primaries));
  for (const auto& [name, value] : textAttributes(options))
    output.require(exr_attr_set_string(context, 0, name.c_str(), value.c_str()));
  if (isOpenExrEnvmap(options.layout, map.width, map.height))
    output.require(exr_attr_set_envmap(context, 0, "envmap", EXR_ENVMAP_LATLONG));
  output.require(exr_write_header(context));
}

/// A zlib stream (RFC 1950, RFC 1951) whose first `stored` bytes are stored and whose others are deflated.
/// @return the bytes that it takes; 0 when they are more than `room`.
std::size_t zlibStream(libdeflate_compressor* deflater, const std::uint8_t* in, std::size_t size,
                       std::size_t stored, std::uint8_t* out, std::size_t room) {
  if (stored == 0) return libdeflate_zlib_compress(deflater, in, size, out, room);
  constexpr std::size_t kMostInBlock = 65535, kBlockHeader = 5, kFrame = 6;
  const std::size_t blocks = (stored + kMostInBlock - 1) / kMostInBlock;
  if (stored + blocks * kBlockHeader + kFrame > room) return 0;
  const auto put = [&](std::size_t value) { *out++ = static_cast<std::uint8_t>(value); };
  const std::uint8_t* const begin = out;
  put(0x78);
  put(0x01);
  for (std::size_t at = 0; at < stored; at += kMostInBlock) {
    const std::size_t length = std::min(kMostInBlock, stored - at);
    put(0);
    for (const std::size_t number : {length, ~length}) {
      put(number & 0xFF);
      put(number >> 8 & 0xFF);
    }
    out = std::copy_n(in + at, length, out);
  }
  const std::size_t left = room - static_cast<std::size_t>(out - begin) - 4;
  const std::size_t deflated = libdeflate_deflate_compress(deflater, in + stored, size - stored, out, left);
  if (deflated == 0) return 0;
  out += deflated;
  const std::uint32_t sum = libdeflate_adler32(1, in, size);
  for (const int shift : {24, 16, 8, 0}) put(sum >> shift & 0xFF);
  return static_cast<std::size_t>(out - begin);
}

/// Some rows on their way into the file: as many as one task packs, in one or several chunks. The storage is
/// used again for later rows.
class Band {
 public:
  Band(const ExrOutput& output, exr_compression_t compression, Deflated deflated)
      : output_(output),
        compression_(compression),
        deflated_(deflated),
        deflater_(libdeflate_alloc_compressor(kDeflateLevel)) {
    if (!deflater_) throw std::bad_alloc();
  }
  ~Band() {
    if (library_.context) exr_encoding_destroy(output_.context(), &library_);
  }
  Band(const Band&) = delete;
  Band& operator=(const Band&) = delete;

  /// Packs and compresses rows `begin` to `end`. @param chunkRows the rows of a whole chunk.
  void make(const hdri::EnvImage& map, bool half, int begin, int end, int chunkRows) {
    const auto width = static_cast<std::size_t>(map.width);
    const hdri::Rgb* const pixels = map.pixels.data() + static_cast<std::size_t>(begin) * width;
    const auto rows = static_cast<std::size_t>(end - begin);
    const std::size_t rowBytes = 3 * width * (half ? sizeof(std::uint16_t) : sizeof(float));
    packed_.resize(rows * rowBytes);
    if (half) {
      packRows(pixels, width, rows, reinterpret_cast<std::uint16_t*>(packed_.data()));
    } else {
      packRows(pixels, width, rows, reinterpret_cast<float*>(packed_.data()));
    }

    chunks_.clear();
    if (compression_ != EXR_COMPRESSION_NONE) compressed_.resize(packed_.size());
    for (int y = begin; y < end; y += chunkRows) {
      const std::size_t offset = static_cast<std::size_t>(y - begin) * rowBytes;
      const std::size_t size = static_cast<std::size_t>(std::min(chunkRows, end - y)) * rowBytes;
      const std::size_t compressed = compress(y, offset, size);
      // What does not shrink is stored.
      const bool stored = compressed == 0 || compressed >= size;
      chunks_.push_back({y, (stored ? packed_ : compressed_).data() + offset, stored ? size : compressed});
    }
  }

  /// Of the chunks, as they are.
  std::size_t bytes() const {
    std::size_t sum = 0;
    for (const Chunk& chunk : chunks_) sum += chunk.size;
    return sum;
  }

  /// Writes the chunks, in their order. @return how it went.
  exr_result_t write() const {
    exr_result_t result = EXR_ERR_SUCCESS;
    for (const Chunk& chunk : chunks_) {
      if (result == EXR_ERR_SUCCESS)
        result = exr_write_scanline_chunk(output_.context(), 0, chunk.y, chunk.data, chunk.size);
    }
    return result;
  }

 private:
  struct Chunk {
    int y;
    const std::uint8_t* data;
    std::size_t size;
  };
  struct FreeDeflater {
    void operator()(libdeflate_compressor* deflater) const { libdeflate_free_compressor(deflater); }
  };

  /// Compresses what is packed at `offset` to the same place of the other buffer.
  /// @return the bytes that it takes; 0 when they are not fewer.
  std::size_t compress(int y, std::size_t offset, std::size_t size) {
    const bool zip = compression_ == EXR_COMPRESSION_ZIP || compression_ == EXR_COMPRESSION_ZIPS;
    if (compression_ == EXR_COMPRESSION_NONE) return 0;
    if (!zip) return compressByLibrary(y, offset, size);
    split_.resize(size);
    splitAndDifference(packed_.data() + offset, size, split_.data());
    const std::size_t stored = deflated_ == Deflated::atOddPlaces ? (size + 1) / 2 : 0;
    return zlibStream(deflater_.get(), split_.data(), size, stored, compressed_.data() + offset, size - 1);
  }

  std::size_t compressByLibrary(int y, std::size_t offset, std::size_t size) {
    exr_context_t context = output_.context();
    exr_chunk_info_t info{};
    output_.require(exr_write_scanline_chunk_info(context, 0, y, &info));
    if (library_.context) {
      output_.require(exr_encoding_update(context, 0, &info, &library_));
    } else {
      output_.require(exr_encoding_initialize(context, 0, &info, &library_));
      output_.require(exr_encoding_choose_default_routines(context, 0, &library_));
    }
    // It is packed already, which the library wants to hear from its packer, and written later.
    for (int c = 0; c < library_.channel_count; ++c) {
      exr_coding_channel_info_t& channel = library_.channels[c];
      channel.encode_from_ptr = packed_.data() + offset;
      channel.user_bytes_per_element = static_cast<std::uint8_t>(channel.bytes_per_element);
      channel.user_data_type = channel.data_type;
    }
    library_.convert_and_pack_fn = [](exr_encode_pipeline_t* pipeline) -> exr_result_t {
      pipeline->packed_bytes = pipeline->packed_alloc_size;
      return EXR_ERR_SUCCESS;
    };
    library_.yield_until_ready_fn = nullptr;
    library_.write_fn = nullptr;
    library_.packed_buffer = packed_.data() + offset;
    library_.packed_alloc_size = size;
    const exr_result_t result = exr_encoding_run(context, 0, &library_);
    library_.packed_buffer = nullptr;
    library_.packed_alloc_size = 0;
    output_.require(result);
    if (library_.compressed_bytes >= size || !library_.compressed_buffer) return 0;
    std::copy_n(static_cast<const std::uint8_t*>(library_.compressed_buffer), library_.compressed_bytes,
                compressed_.data() + offset);
    return library_.compressed_bytes;
  }

  const ExrOutput& output_;
  const exr_compression_t compression_;
  const Deflated deflated_;
  std::unique_ptr<libdeflate_compressor, FreeDeflater> deflater_;
  exr_encode_pipeline_t library_{};
  std::vector<std::uint8_t> packed_;
  std::vector<std::uint8_t> split_;       // of one chunk
  std::vector<std::uint8_t> compressed_;  // each chunk where it starts in `packed_`
  std::vector<Chunk> chunks_;
};

/// Half of the bytes where three chunks of a large map hardly grow by it.
Deflated deflatedOf(const ExrOutput& output, const hdri::EnvImage& map, const MapFileOptions& options,
                    int chunkRows) {
  constexpr int kSamples = 3, kLeastChunks = 64;
  const exr_compression_t compression = compressionOf(options.compression);
  const int chunks = map.height / chunkRows;
  if (compression != EXR_COMPRESSION_ZIP && compression != EXR_COMPRESSION_ZIPS) return Deflated::all;
  if (chunks < kLeastChunks) return Deflated::all;
  std::size_t bytes[kSamples][2] = {};
  forEachRow(2 * kSamples, 1, [&](std::uint32_t i) {
    const int sample = static_cast<int>(i) / 2;
    const bool half = i % 2 == 0;
    const int y = chunks * (sample + 1) / (kSamples + 1) * chunkRows;
    Band band(output, compression, half ? Deflated::atOddPlaces : Deflated::all);
    band.make(map, options.half, y, y + chunkRows, chunkRows);
    bytes[sample][half ? 0 : 1] = band.bytes();
  });
  double half = 0, all = 0;
  for (const auto& sample : bytes) {
    half += static_cast<double>(sample[0]);
    all += static_cast<double>(sample[1]);
  }
  return half <= kMostGrowth * all ? Deflated::atOddPlaces : Deflated::all;
}

/// Bands are made in parallel and written one after the other, in order.
void writeBands(const ExrOutput& output, const hdri::EnvImage& map, const MapFileOptions& options) {
  int chunkRows = 1;
  output.require(exr_get_scanlines_per_chunk(output.context(), 0, &chunkRows));
  const int bandRows = std::max(chunkRows, kBandRows);
  const int bandCount = (map.height + bandRows - 1) / bandRows;
  // As many at once as keep all threads at work while one band is written.
  const std::size_t threads = tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism);
  const std::size_t atOnce = std::min(threads + 2, static_cast<std::size_t>(bandCount));
  const Deflated deflated = deflatedOf(output, map, options, chunkRows);
  std::vector<std::unique_ptr<Band>> bands;
  for (std::size_t i = 0; i < atOnce; ++i)
    bands.push_back(std::make_unique<Band>(output, compressionOf(options.compression), deflated));

  int next = 0;
  const StopCheck* const check = StopCheck::current();
  const auto begin = [&](tbb::flow_control& control) {
    const LoopOrder::Join order;
    StopCheck::ask(check);
    if (next == bandCount) control.stop();
    return next++;
  };
  const auto make = [&](int index) {
    const LoopOrder::Join order;
    const int y = index * bandRows;
    bands[static_cast<std::size_t>(index) % atOnce]->make(map, options.half, y,
                                                          std::min(y + bandRows, map.height), chunkRows);
    return index;
  };
  const auto write = [&](int index) {
    const LoopOrder::Join order;
    output.require(bands[static_cast<std::size_t>(index) % atOnce]->write());
    const int end = std::min((index + 1) * bandRows, map.height);
    if (options.progress) options.progress(static_cast<float>(end) / static_cast<float>(map.height));
  };
  const LoopOrder order;
  tbb::task_group_context context(tbb::task_group_context::isolated);
  tbb::parallel_pipeline(atOnce,
                         tbb::make_filter<void, int>(tbb::filter_mode::serial_in_order, begin) &
                             tbb::make_filter<int, int>(tbb::filter_mode::parallel, make) &
                             tbb::make_filter<int, void>(tbb::filter_mode::serial_in_order, write),
                         context);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> textAttributes(const MapFileOptions& options) {
  std::vector<std::pair<std::string, std::string>> texts = {
      {"orv:projection", "latlong"}, {"orv:orientation", std::string(orientationText(options.layout))}};
  if (!options.software.empty()) texts.emplace_back("Software", options.software);
  return texts;
}

void writeExr(const hdri::EnvImage& map, OutputFile& file, const MapFileOptions& options) {
  if (options.compression == "dwaa" || options.compression == "dwab") {
    writeDwaExr(map, file, options);
    return;
  }
  ExrOutput output(file);
  writeHeader(output, map, options);
  writeBands(output, map, options);
  output.finish();
}

}  // namespace orv::scene
