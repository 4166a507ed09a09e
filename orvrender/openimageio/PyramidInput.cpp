#include "orvrender/openimageio/PyramidInput.h"

#include <algorithm>

namespace orv::host {
namespace {

constexpr const char* kAttribute = "orv:pyramid";

}  // namespace

OIIO::ImageSpec PyramidInput::configuration(const MipPyramid& pyramid) {
  OIIO::ImageSpec config;
  const MipPyramid* pointer = &pyramid;
  config.attribute(kAttribute, OIIO::TypeDesc::PTR, static_cast<const void*>(&pointer));
  return config;
}

bool PyramidInput::open(const std::string&, OIIO::ImageSpec&) { return false; }

bool PyramidInput::open(const std::string&, OIIO::ImageSpec& newspec, const OIIO::ImageSpec& config) {
  const OIIO::ParamValue* const value = config.find_attribute(kAttribute, OIIO::TypeDesc::PTR);
  if (!value) return false;
  pyramid_ = *static_cast<const MipPyramid* const*>(value->data());
  level_ = 0;
  m_spec = specOf(pyramid_->level(0));
  newspec = m_spec;
  return true;
}

bool PyramidInput::close() {
  pyramid_ = nullptr;
  return true;
}

bool PyramidInput::seek_subimage(int subimage, int miplevel) {
  const bool exists =
      pyramid_ && subimage == 0 && miplevel >= 0 && static_cast<std::uint32_t>(miplevel) < pyramid_->levels();
  if (!exists) return false;
  level_ = miplevel;
  m_spec = specOf(pyramid_->level(static_cast<std::uint32_t>(miplevel)));
  return true;
}

bool PyramidInput::read_native_scanline(int, int, int, int, void*) { return false; }

bool PyramidInput::read_native_tile(int subimage, int miplevel, int x, int y, int z, void* data) {
  const bool exists = pyramid_ && subimage == 0 && z == 0 && x >= 0 && y >= 0 && miplevel >= 0 &&
                      static_cast<std::uint32_t>(miplevel) < pyramid_->levels();
  if (!exists) return false;
  const Pixels& pixels = pyramid_->level(static_cast<std::uint32_t>(miplevel));
  const auto x0 = static_cast<std::uint32_t>(x);
  const auto y0 = static_cast<std::uint32_t>(y);
  if (x0 >= pixels.width || y0 >= pixels.height) return false;

  // A tile that runs over the edge is black beyond it; look-ups never reach that far.
  const std::size_t channels = pixels.alpha ? 4 : 3;
  auto* const out = static_cast<float*>(data);
  const std::uint32_t columns = std::min<std::uint32_t>(kTile, pixels.width - x0);
  const std::uint32_t rows = std::min<std::uint32_t>(kTile, pixels.height - y0);
  if (columns < kTile || rows < kTile) std::fill_n(out, std::size_t{kTile} * kTile * channels, 0.0f);
  for (std::size_t row = 0; row < rows; ++row) {
    const std::size_t first = (y0 + row) * pixels.width + x0;
    const float* const rgb = pixels.rgb.get() + 3 * first;
    float* const to = out + row * kTile * channels;
    if (!pixels.alpha) {
      std::copy_n(rgb, std::size_t{3} * columns, to);
      continue;
    }
    for (std::size_t column = 0; column < columns; ++column) {
      std::copy_n(rgb + 3 * column, 3, to + 4 * column);
      to[4 * column + 3] = pixels.alpha[first + column];
    }
  }
  return true;
}

OIIO::ImageSpec PyramidInput::specOf(const Pixels& pixels) const {
  OIIO::ImageSpec spec(static_cast<int>(pixels.width), static_cast<int>(pixels.height), pixels.alpha ? 4 : 3,
                       OIIO::TypeDesc::FLOAT);
  spec.tile_width = kTile;
  spec.tile_height = kTile;
  spec.tile_depth = 1;
  spec.attribute("textureformat", "Plain Texture");
  return spec;
}

}  // namespace orv::host
