#pragma once

#include <openexr.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvrender/files/FilePixels.h"
#include "orvrender/files/image_checks.h"

struct libdeflate_decompressor;

namespace orv::host {

/// A channel of an OpenEXR file, as each row holds it: all its samples one after the other.
struct ExrChannel {
  exr_pixel_type_t type = EXR_PIXEL_HALF;
  std::size_t offset = 0;  ///< bytes from the row's start
};

/// An OpenEXR file that is open for reading, its header read and nothing of its pixels.
class ExrInput {
 public:
  /// @throws ImageError when nothing of a header is left; std::bad_alloc.
  explicit ExrInput(const std::string& path);
  ~ExrInput();
  ExrInput(const ExrInput&) = delete;
  ExrInput& operator=(const ExrInput&) = delete;

  /// Whether it is a single flat image of scan lines, with channels of full size, in a compression that is
  /// read here. Of any other file nothing else may be asked.
  bool isPlain() const { return isPlain_; }

  const Window& data() const { return data_; }
  const Window& display() const { return display_; }
  const std::vector<std::string>& names() const { return names_; }
  const ExrChannel& channel(int index) const { return channels_[static_cast<std::size_t>(index)]; }
  /// Whether colour is not associated with alpha.
  bool isStraight() const { return isStraight_; }
  FileHeader header() const;

  /// Chunks have this many rows, from the data window's first one on; the last has what is left.
  int chunkRows() const { return chunkRows_; }
  std::size_t rowBytes() const { return rowBytes_; }
  /// Throws ImageError when the file is too short for what its header claims.
  void checkWeight() const;
  std::size_t rowsOfChunk(std::int64_t y) const {
    return static_cast<std::size_t>(std::min<std::int64_t>(chunkRows_, data_.y1 - y));
  }

 private:
  friend class ExrChunkReader;

  ExrInput() = default;

  bool readHeader();
  bool readChannels();
  std::string text(const char* attribute) const;
  static std::int64_t read(exr_const_context_t, void* file, void* data, std::uint64_t size,
                           std::uint64_t offset, exr_stream_error_func_ptr_t);
  static std::int64_t size(exr_const_context_t, void* file);

  int file_ = -1;
  exr_context_t context_ = nullptr;
  bool isPlain_ = false;
  Window data_;
  Window display_;
  std::vector<std::string> names_;  // in the order of the bytes
  std::vector<ExrChannel> channels_;
  exr_compression_t compression_ = EXR_COMPRESSION_NONE;
  bool isStraight_ = false;
  int chunkRows_ = 1;
  std::size_t rowBytes_ = 0;
};

/// Reads chunks of a plain file; one for each thread, all of one input.
class ExrChunkReader {
 public:
  explicit ExrChunkReader(const ExrInput& input);
  ~ExrChunkReader();
  ExrChunkReader(const ExrChunkReader&) = delete;
  ExrChunkReader& operator=(const ExrChunkReader&) = delete;

  /// The rows of the chunk that starts with row `y`, which stay until the next call. Throws ImageError.
  const std::uint8_t* rows(std::int64_t y);

 private:
  /// Bytes that grow, and are not initialised.
  struct Buffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;

    std::uint8_t* atLeast(std::size_t wanted);
  };
  struct FreeInflater {
    void operator()(libdeflate_decompressor* inflater) const;
  };

  const std::uint8_t* inflate(std::size_t packed, std::size_t size);
  const std::uint8_t* decodeByLibrary(const exr_chunk_info_t& chunk);

  const ExrInput& input_;
  std::unique_ptr<libdeflate_decompressor, FreeInflater> inflater_;
  exr_decode_pipeline_t library_{};
  Buffer packed_;
  Buffer inflated_;
  Buffer rows_;
};

}  // namespace orv::host
