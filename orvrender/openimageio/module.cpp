// The entry of the module.
#include <OpenImageIO/imageio.h>
#include <tbb/global_control.h>

#include "orvrender/files/ImageError.h"
#include "orvrender/images/ImageModule.h"
#include "orvrender/openimageio/read_picture.h"
#include "orvrender/openimageio/write_picture.h"

namespace orv::host {
namespace {

/// OpenImageIO has threads of its own: as many as oneTBB may use.
void limitThreads() {
  const auto threads =
      static_cast<int>(tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism));
  OIIO::attribute("threads", threads);
  OIIO::attribute("exr_threads", threads);
}

class OpenImageIoModule final : public ImageModule {
 public:
  FilePixels read(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                  const ImageLimits& limits, const StopCheck* check) const override {
    limitThreads();
    const StopCheck sameCheck(check);
    return readPicture(path, file, profile, limits);
  }

  FileHeader describe(const std::string& path) const override {
    const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(path);
    if (!input) throw ImageError("cannot be read: " + inOneLine(OIIO::geterror()));
    const OIIO::ImageSpec& spec = input->spec();
    const bool lies = spec.get_int_attribute("Orientation", 1) > 4;
    return {.width = lies ? spec.full_height : spec.full_width,
            .height = lies ? spec.full_width : spec.full_height,
            .channels = spec.nchannels,
            .format = input->format_name(),
            .pixelType = spec.format.c_str(),
            .compression = spec.get_string_attribute("compression"),
            .software = spec.get_string_attribute("Software"),
            .orientation = spec.get_string_attribute("orv:orientation")};
  }

  std::string write(const PictureToWrite& picture) const override {
    limitThreads();
    return writePicture(picture);
  }
};

}  // namespace
}  // namespace orv::host

/// What the host asks for once it has opened the module.
extern "C" const orv::host::ImageModule* orv_image_module_entry() {
  static const orv::host::OpenImageIoModule module;
  return &module;
}
