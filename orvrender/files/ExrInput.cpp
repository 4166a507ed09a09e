#include "orvrender/files/ExrInput.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "orvrender/files/exr_chunks.h"

namespace orv::host {
namespace {

/// In the order of `exr_compression_t`.
constexpr const char* kCompressionNames[] = {"none",  "rle", "zips", "zip",  "piz",
                                             "pxr24", "b44", "b44a", "dwaa", "dwab"};

// A byte of a deflated stream holds at most that many.
constexpr std::size_t kMostInflation = 1032;
constexpr std::size_t kMostChunkBytes = std::size_t{1} << 31;

/// Which chunk it was is not told: with several damaged ones, chance decides which thread throws first.
[[noreturn]] void fail(const std::string& reason) { failToRead(FileKind::openexr, reason); }

/// Throws unless the library has done what it was asked for.
void require(exr_result_t result) {
  if (result == EXR_ERR_SUCCESS) return;
  if (result == EXR_ERR_OUT_OF_MEMORY) throw std::bad_alloc();
  fail(exr_get_default_error_message(result));
}

Window windowOf(const exr_attr_box2i_t& box) {
  return {box.min.x, box.min.y, std::int64_t{box.max.x} + 1, std::int64_t{box.max.y} + 1};
}

}  // namespace

// Begun by another constructor, so that the destructor runs where this one throws.
ExrInput::ExrInput(const std::string& path) : ExrInput() {
  file_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file_ < 0) return;
  exr_context_initializer_t setup = EXR_DEFAULT_CONTEXT_INITIALIZER;
  setup.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
  setup.user_data = &file_;
  setup.read_fn = &read;
  setup.size_fn = &size;
  const exr_result_t started = exr_start_read(&context_, path.c_str(), &setup);
  // A header of which nothing is left is nothing for another library either, which would believe its sizes.
  if (started == EXR_ERR_OUT_OF_MEMORY || started == EXR_ERR_MISSING_REQ_ATTR ||
      started == EXR_ERR_FILE_BAD_HEADER)
    require(started);
  isPlain_ = started == EXR_ERR_SUCCESS && readHeader();
}

ExrInput::~ExrInput() {
  if (context_) exr_finish(&context_);
  if (file_ >= 0) ::close(file_);
}

std::int64_t ExrInput::read(exr_const_context_t, void* file, void* data, std::uint64_t size,
                            std::uint64_t offset, exr_stream_error_func_ptr_t) {
  auto* to = static_cast<std::uint8_t*>(data);
  std::uint64_t done = 0;
  while (done < size) {
    const ssize_t n =
        ::pread(*static_cast<const int*>(file), to + done, size - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<std::uint64_t>(n);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t ExrInput::size(exr_const_context_t, void* file) {
  struct stat status {};
  return ::fstat(*static_cast<const int*>(file), &status) == 0 ? status.st_size : -1;
}

bool ExrInput::readHeader() {
  int parts = 0;
  exr_storage_t storage = EXR_STORAGE_LAST_TYPE;
  exr_attr_box2i_t data{};
  exr_attr_box2i_t display{};
  const bool has = exr_get_count(context_, &parts) == EXR_ERR_SUCCESS && parts == 1 &&
                   exr_get_storage(context_, 0, &storage) == EXR_ERR_SUCCESS &&
                   storage == EXR_STORAGE_SCANLINE &&
                   exr_get_data_window(context_, 0, &data) == EXR_ERR_SUCCESS &&
                   exr_get_display_window(context_, 0, &display) == EXR_ERR_SUCCESS &&
                   exr_get_compression(context_, 0, &compression_) == EXR_ERR_SUCCESS &&
                   exr_get_scanlines_per_chunk(context_, 0, &chunkRows_) == EXR_ERR_SUCCESS && chunkRows_ > 0;
  // The library's core does not decode the last two compressions.
  if (!has || compression_ > EXR_COMPRESSION_B44A) return false;
  data_ = windowOf(data);
  display_ = windowOf(display);

  const exr_attribute_t* straight = nullptr;
  if (exr_get_attribute_by_name(context_, 0, "oiio:UnassociatedAlpha", &straight) == EXR_ERR_SUCCESS) {
    if (straight->type != EXR_ATTR_INT) return false;
    isStraight_ = straight->i != 0;
  }
  return readChannels();
}

bool ExrInput::readChannels() {
  const exr_attr_chlist_t* list = nullptr;
  if (exr_get_channels(context_, 0, &list) != EXR_ERR_SUCCESS || data_.isEmpty()) return false;
  const auto width = static_cast<std::size_t>(data_.width());
  for (int i = 0; i < list->num_channels; ++i) {
    const exr_attr_chlist_entry_t& entry = list->entries[i];
    const std::string_view name(entry.name.str, static_cast<std::size_t>(entry.name.length));
    const bool isChroma = name.ends_with("RY") || name.ends_with("BY");
    if (entry.x_sampling != 1 || entry.y_sampling != 1 || isChroma) return false;
    names_.emplace_back(name);
    channels_.push_back({entry.pixel_type, rowBytes_});
    rowBytes_ += width * (entry.pixel_type == EXR_PIXEL_HALF ? 2 : 4);
  }
  return rowBytes_ <= kMostChunkBytes / static_cast<std::size_t>(chunkRows_);
}

std::string ExrInput::text(const char* attribute) const {
  std::int32_t length = 0;
  const char* value = nullptr;
  if (exr_attr_get_string(context_, 0, attribute, &length, &value) != EXR_ERR_SUCCESS || !value) return {};
  return {value, static_cast<std::size_t>(length)};
}

void ExrInput::checkWeight() const {
  const std::int64_t length = size(nullptr, const_cast<int*>(&file_));
  const auto fileBytes = static_cast<std::uint64_t>(std::max<std::int64_t>(length, 0));
  const auto rows = static_cast<std::uint64_t>(data_.height());
  host::checkWeight(FileKind::openexr, rows * rowBytes_, kCompressionNames[compression_], fileBytes);
  // Each chunk has a place in a table, its row and its size.
  constexpr std::uint64_t kChunkBytes = 16;
  host::checkWeight(FileKind::openexr, rows / static_cast<std::uint64_t>(chunkRows_) * kChunkBytes, "none",
                    fileBytes);
}

FileHeader ExrInput::header() const {
  FileHeader header;
  header.width = static_cast<int>(display_.width());
  header.height = static_cast<int>(display_.height());
  header.channels = static_cast<int>(channels_.size());
  header.format = "openexr";
  const auto isHalf = [](const ExrChannel& channel) { return channel.type == EXR_PIXEL_HALF; };
  header.pixelType = std::all_of(channels_.begin(), channels_.end(), isHalf) ? "half" : "float";
  header.compression = kCompressionNames[compression_];
  header.software = text("Software");
  if (header.software.empty()) header.software = text("software");
  header.orientation = text("orv:orientation");
  return header;
}

ExrChunkReader::ExrChunkReader(const ExrInput& input)
    : input_(input), inflater_(libdeflate_alloc_decompressor()) {
  if (!inflater_) throw std::bad_alloc();
}

ExrChunkReader::~ExrChunkReader() {
  if (library_.context) exr_decoding_destroy(input_.context_, &library_);
}

void ExrChunkReader::FreeInflater::operator()(libdeflate_decompressor* inflater) const {
  libdeflate_free_decompressor(inflater);
}

std::uint8_t* ExrChunkReader::Buffer::atLeast(std::size_t wanted) {
  if (size < wanted) {
    bytes.reset();
    bytes = std::make_unique_for_overwrite<std::uint8_t[]>(wanted);
    size = wanted;
  }
  return bytes.get();
}

const std::uint8_t* ExrChunkReader::rows(std::int64_t y) {
  exr_chunk_info_t chunk{};
  require(exr_read_scanline_chunk_info(input_.context_, 0, static_cast<int>(y), &chunk));
  const std::size_t size = input_.rowsOfChunk(y) * input_.rowBytes();
  const bool isExpected =
      chunk.start_y == y && chunk.unpacked_size == size && chunk.packed_size > 0 && chunk.packed_size <= size;
  if (!isExpected) fail("a chunk has a wrong size");

  const bool isZip =
      input_.compression_ == EXR_COMPRESSION_ZIP || input_.compression_ == EXR_COMPRESSION_ZIPS;
  // What did not shrink is stored as it is.
  const bool isStored = chunk.packed_size == size;
  // Where the file ends early the library would leave the rest of stored rows out.
  const auto fileBytes = static_cast<std::uint64_t>(
      std::max<std::int64_t>(ExrInput::size(nullptr, const_cast<int*>(&input_.file_)), 0));
  if (chunk.data_offset > fileBytes || chunk.packed_size > fileBytes - chunk.data_offset)
    fail("it ends inside a chunk");
  if (!isStored && !isZip) return decodeByLibrary(chunk);
  require(exr_read_chunk(input_.context_, 0, &chunk, packed_.atLeast(chunk.packed_size)));
  if (isStored) return packed_.bytes.get();
  const std::uint8_t* const rows = inflate(chunk.packed_size, size);
  if (!rows) fail("compressed data are damaged");
  return rows;
}

/// Null when the data are damaged.
const std::uint8_t* ExrChunkReader::inflate(std::size_t packed, std::size_t size) {
  if (size / kMostInflation > packed) return nullptr;
  std::uint8_t* const inflated = inflated_.atLeast(size);
  if (libdeflate_zlib_decompress(inflater_.get(), packed_.bytes.get(), packed, inflated, size, nullptr) !=
      LIBDEFLATE_SUCCESS)
    return nullptr;
  std::uint8_t* const rows = rows_.atLeast(size);
  addAndInterleave(inflated, size, rows);
  return rows;
}

const std::uint8_t* ExrChunkReader::decodeByLibrary(const exr_chunk_info_t& chunk) {
  exr_context_t context = input_.context_;
  if (!library_.context) {
    require(exr_decoding_initialize(context, 0, &chunk, &library_));
    library_.alloc_fn = [](exr_transcoding_pipeline_buffer_id_t, std::size_t size) {
      return std::calloc(1, size);
    };
    library_.free_fn = [](exr_transcoding_pipeline_buffer_id_t, void* buffer) { std::free(buffer); };
    require(exr_decoding_choose_default_routines(context, 0, &library_));
    library_.unpack_and_convert_fn = nullptr;
  } else {
    require(exr_decoding_update(context, 0, &chunk, &library_));
    // Of damaged data the library may leave some out, which then is black.
    const auto blank = [](void* buffer, std::size_t size) {
      if (buffer) std::memset(buffer, 0, size);
    };
    blank(library_.unpacked_buffer, library_.unpacked_alloc_size);
    blank(library_.scratch_buffer_1, library_.scratch_alloc_size_1);
    blank(library_.scratch_buffer_2, library_.scratch_alloc_size_2);
  }
  require(exr_decoding_run(context, 0, &library_));
  return static_cast<const std::uint8_t*>(library_.unpacked_buffer);
}

}  // namespace orv::host
