#include "orvrender/images/read_image.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <optional>
#include <utility>

#include "orvrender/files/FileKind.h"
#include "orvrender/files/image_rows.h"
#include "orvrender/files/read_exr.h"
#include "orvrender/images/ImageModule.h"
#include "orvrender/images/Orientation.h"

namespace orv::host {
namespace {

constexpr float kLargestHalf = 65504.0f;

bool isFinite(float value) { return (std::bit_cast<std::uint32_t>(value) & 0x7F800000u) != 0x7F800000u; }

float madeFinite(float value) {
  if (isFinite(value)) return value;
  return std::isnan(value) ? 0.0f : std::copysign(kLargestHalf, value);
}

/// Replaces what is not finite in pixels `begin` to `end`, limits alpha, and associates straight colour with
/// it.
Replaced repair(Pixels& pixels, std::size_t begin, std::size_t end, bool isStraight) {
  float* const rgb = pixels.rgb.get();
  float* const alpha = pixels.alpha.get();

  // Almost every run is as it should be, which a pass without branches finds out.
  std::uint32_t notFinite = 0;
  for (std::size_t i = 3 * begin; i < 3 * end; ++i) notFinite |= isFinite(rgb[i]) ? 0u : 1u;
  for (std::size_t i = begin; alpha && i < end; ++i) notFinite |= isFinite(alpha[i]) ? 0u : 1u;

  Replaced replaced;
  for (std::size_t i = begin; notFinite && i < end; ++i) {
    float* const pixel = rgb + 3 * i;
    const bool finite =
        isFinite(pixel[0]) && isFinite(pixel[1]) && isFinite(pixel[2]) && (!alpha || isFinite(alpha[i]));
    if (finite) continue;
    ++replaced.pixels;
    const float channels[4] = {pixel[0], pixel[1], pixel[2], alpha ? alpha[i] : 0.0f};
    if (std::any_of(channels, channels + 4, [](float c) { return std::isnan(c); })) ++replaced.nan;
    if (std::any_of(channels, channels + 4, [](float c) { return std::isinf(c); })) ++replaced.infinite;
    for (int c = 0; c < 3; ++c) pixel[c] = madeFinite(pixel[c]);
    if (alpha) alpha[i] = madeFinite(alpha[i]);
  }
  for (std::size_t i = begin; alpha && i < end; ++i) {
    alpha[i] = std::clamp(alpha[i], 0.0f, 1.0f);
    for (std::size_t c = 0; isStraight && c < 3; ++c) rgb[3 * i + c] *= alpha[i];
  }
  return replaced;
}

/// The same for all pixels that the file holds, a run that fits the first cache at a time.
Replaced repair(FilePixels& read) {
  constexpr std::size_t kRun = 2048;
  std::atomic<std::uint64_t> pixels{0}, nan{0}, infinite{0};
  const std::size_t width = read.pixels.width;
  const std::size_t first = read.firstRow * width;
  const std::size_t end = std::min(read.endRow * width, read.pixels.count());
  const auto runs = static_cast<std::uint32_t>((end - std::min(first, end) + kRun - 1) / kRun);
  forEachImageRow(runs, end - std::min(first, end), [&](std::uint32_t run) {
    const std::size_t begin = first + run * kRun;
    const Replaced found = repair(read.pixels, begin, std::min(begin + kRun, end), read.isStraight);
    if (found.pixels == 0) return;
    pixels.fetch_add(found.pixels, std::memory_order_relaxed);
    nan.fetch_add(found.nan, std::memory_order_relaxed);
    infinite.fetch_add(found.infinite, std::memory_order_relaxed);
  });
  return {pixels.load(std::memory_order_relaxed), nan.load(std::memory_order_relaxed),
          infinite.load(std::memory_order_relaxed)};
}

FilePixels readFile(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                    const ImageLimits& limits) {
  if (file.kind == FileKind::openexr)
    if (std::optional<FilePixels> read = readExr(path, limits)) return std::move(*read);
  return orv_image_module()->read(path, file, profile, limits, StopCheck::current());
}

}  // namespace

ReadImage readImage(const std::string& path, orvTexture_profile profile, const ImageLimits& limits) {
  const FileFacts file = inspectFile(path);
  FilePixels read = readFile(path, file, profile, limits);
  const Replaced replaced = repair(read);
  reorient(read.pixels, read.orientation);
  return {std::move(read.pixels), replaced};
}

ReadImage copyImage(const float* rgb, std::uint32_t width, std::uint32_t height, const ImageLimits& limits) {
  const Window window{0, 0, width, height};
  checkSize("image", window, limits);
  FilePixels copy{allocatePixels(window, false), false, 1};
  copy.endRow = height;
  std::copy_n(rgb, 3 * copy.pixels.count(), copy.pixels.rgb.get());
  const Replaced replaced = repair(copy);
  return {std::move(copy.pixels), replaced};
}

}  // namespace orv::host

extern "C" void orv_image_read(const std::string& path, const orv::host::ImageLimits& limits,
                               orv::host::ReadImage& image) {
  image = orv::host::readImage(path, orvTexture_profile::environment, limits);
}
