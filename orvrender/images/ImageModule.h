#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/orvImage.h"
#include "maps/row_loop.h"
#include "orvrender/files/FileKind.h"
#include "orvrender/files/FilePixels.h"
#include "orvrender/files/image_checks.h"

namespace orv::host {

/// A picture to be written: packed rows of RGB, the top one first.
struct PictureToWrite {
  std::string path;    ///< for messages
  std::string writer;  ///< OpenImageIO's name of the format
  int width = 0;
  int height = 0;
  const void* pixels = nullptr;  ///< floats, linear; of a preview bytes, sRGB
  bool isPreview = false;
  std::string software;
  std::string compression;  ///< empty: the format has no choice
  int quality = 0;          ///< of a lossy format, to 100; 0: not asked for
  bool datesFiles = false;  ///< the writer notes the time when it is not told one

  /// The file. Writing returns false, and reading fewer bytes than asked for, on failure.
  std::function<bool(const void* data, std::size_t size, std::uint64_t offset)> write;
  std::function<std::size_t(void* data, std::size_t size, std::uint64_t offset)> read;
  std::function<std::uint64_t()> size;
  std::function<void(int rows)> progress;  ///< hears of the rows done
};

/// What takes OpenImageIO, which costs a program more to load than most maps to paint. It lies in a library
/// of its own, which is opened when it is first asked for. Thread-safe.
class ImageModule {
 public:
  /// Reads any file that the host takes: its colour, over the display window, black where the file holds
  /// nothing. Throws ImageError; LoopStopped where `check` (null asks nothing) says so.
  virtual FilePixels read(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                          const ImageLimits& limits, const StopCheck* check) const = 0;
  /// The header of any such file, of its first part. Throws ImageError.
  virtual FileHeader describe(const std::string& path) const = 0;
  /// @return why the picture could not be written; empty when it was.
  virtual std::string write(const PictureToWrite& picture) const = 0;

 protected:
  ~ImageModule() = default;
};

}  // namespace orv::host

extern "C" {

/// The module, found beside this library and opened on the first call; never null. Throws ImageError when
/// there is none.
const orv::host::ImageModule* orv_image_module();

/// The header of an image file, of its first part. Throws ImageError.
void orv_image_describe(const std::string& path, orv::host::FileHeader& header);

}  // extern "C"
