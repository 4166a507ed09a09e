#pragma once

#include <OpenImageIO/imageio.h>

#include <string>

#include "orvrender/openimageio/MipPyramid.h"

namespace orv::host {

/// Hands the levels of a pyramid to a texture system, tile by tile, as if they were a file: RGB or RGBA
/// float.
class PyramidInput final : public OIIO::ImageInput {
 public:
  static constexpr int kTile = 64;

  /// For `ImageCache::add_file`: makes an input that finds its pyramid in the configuration.
  static OIIO::ImageInput* create() { return new PyramidInput; }
  /// The configuration that names `pyramid`, which must outlive the input.
  static OIIO::ImageSpec configuration(const MipPyramid& pyramid);

  const char* format_name() const override { return "pyramid"; }
  bool open(const std::string& name, OIIO::ImageSpec& newspec) override;
  bool open(const std::string& name, OIIO::ImageSpec& newspec, const OIIO::ImageSpec& config) override;
  bool close() override;
  int current_subimage() const override { return 0; }
  int current_miplevel() const override { return level_; }
  bool seek_subimage(int subimage, int miplevel) override;
  bool read_native_scanline(int subimage, int miplevel, int y, int z, void* data) override;
  bool read_native_tile(int subimage, int miplevel, int x, int y, int z, void* data) override;

 private:
  OIIO::ImageSpec specOf(const Pixels& pixels) const;

  const MipPyramid* pyramid_ = nullptr;
  int level_ = 0;
};

}  // namespace orv::host
