#include "orvrender/openimageio/check_jpeg.h"

// clang-format off: its header takes these two for granted
#include <jpeglib.h>
#include <cstddef>
#include <cstdio>
// clang-format on

#include <algorithm>
#include <csetjmp>
#include <memory>
#include <vector>

#include "orvrender/files/ImageError.h"
#include "orvrender/files/image_checks.h"

namespace orv::host {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

/// A decoder that keeps its first complaint instead of printing it, and jumps out of fatal ones.
struct Decoder {
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors{};
  std::jmp_buf out{};
  char complaint[JMSG_LENGTH_MAX] = {};

  static Decoder& of(j_common_ptr info) { return *static_cast<Decoder*>(info->client_data); }

  Decoder() {
    info.err = jpeg_std_error(&errors);
    info.client_data = this;
    errors.error_exit = [](j_common_ptr common) {
      of(common).keep(common);
      std::longjmp(of(common).out, 1);
    };
    // Levels above 0 are traces.
    errors.emit_message = [](j_common_ptr common, int level) {
      if (level < 0) of(common).keep(common);
    };
    errors.output_message = [](j_common_ptr) {};
  }

  void keep(j_common_ptr common) {
    if (complaint[0] == '\0') errors.format_message(common, complaint);
  }
};

/// Whether every coefficient came in full; without scans that refine them a file has it so at once.
bool isRefined(const jpeg_decompress_struct& info) {
  if (!info.coef_bits) return true;
  for (int component = 0; component < info.num_components; ++component) {
    const int* const bits = info.coef_bits[component];
    if (std::any_of(bits, bits + DCTSIZE2, [](int missing) { return missing != 0; })) return false;
  }
  return true;
}

/// Decodes everything as coarsely as can be; what is wrong is in `decoder.complaint`. Nothing in here has a
/// destructor that a jump would leave out.
bool decode(Decoder& decoder, std::FILE* file, std::vector<JSAMPLE>& row) {
  jpeg_decompress_struct& info = decoder.info;
  if (setjmp(decoder.out) != 0) return false;
  jpeg_create_decompress(&info);
  jpeg_stdio_src(&info, file);
  jpeg_read_header(&info, TRUE);
  // Stray bytes in front of the first scan cost no pixel.
  decoder.complaint[0] = '\0';
  info.scale_num = 1;
  info.scale_denom = DCTSIZE;
  info.dct_method = JDCT_IFAST;
  info.do_fancy_upsampling = FALSE;
  info.do_block_smoothing = FALSE;
  info.out_color_space = info.jpeg_color_space;
  jpeg_start_decompress(&info);
  row.resize(std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components));
  while (info.output_scanline < info.output_height) {
    JSAMPROW rows[] = {row.data()};
    jpeg_read_scanlines(&info, rows, 1);
  }
  const bool refined = isRefined(info);
  // What is left behind the last pixel is complained of here.
  jpeg_finish_decompress(&info);
  if (!refined) std::snprintf(decoder.complaint, sizeof decoder.complaint, "its later scans are missing");
  return decoder.complaint[0] == '\0';
}

}  // namespace

void checkJpeg(const std::string& path) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (!file) failToRead(FileKind::jpeg, "it cannot be opened");
  Decoder decoder;
  std::vector<JSAMPLE> row;
  const bool good = decode(decoder, file.get(), row);
  jpeg_destroy_decompress(&decoder.info);
  if (!good) failToRead(FileKind::jpeg, decoder.complaint);
}

}  // namespace orv::host
