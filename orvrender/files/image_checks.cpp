#include "orvrender/files/image_checks.h"

#include <sys/mman.h>

#include <cstddef>

#include "orvrender/files/ImageError.h"

namespace orv::host {

std::string inOneLine(std::string message) {
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  std::replace(message.begin(), message.end(), '\n', ' ');
  return message.empty() ? "no reason given" : message;
}

void failToRead(FileKind kind, const std::string& reason) {
  throw ImageError(std::string("cannot be read as ") + namesOf(kind).title + " (" + inOneLine(reason) +
                   "); it is damaged or cut short: save or copy it again");
}

std::string sizeText(std::int64_t width, std::int64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void checkSize(const char* what, const Window& window, const ImageLimits& limits) {
  const std::int64_t width = window.width();
  const std::int64_t height = window.height();
  if (width <= 0 || height <= 0) {
    throw ImageError(std::string("its ") + what + " is " + sizeText(width, height) +
                     " and holds nothing; save it again");
  }
  const auto side = static_cast<std::uint64_t>(std::max(width, height));
  const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  if (side > limits.side || pixels > limits.pixels) {
    throw ImageError(std::string("its ") + what + " is " + sizeText(width, height) +
                     ", above the limits of " + std::to_string(limits.side) + " a side and " +
                     std::to_string(limits.pixels) + " pixels; scale it down");
  }
}

namespace {

struct Inflation {
  std::string_view compression;
  std::uint64_t most;  ///< bytes that one compressed byte can stand for
};

// Deflate: 258 bytes from two bits. Runs: 128 bytes from two. PIZ: 255 halves from nine bits. PXR24 deflates
// three bytes of four. B44: 16 halves from 14 bytes, flat ones from three. LZW: strings of up to 3840 bytes
// from twelve bits. DWA deflates runs of blocks; what is not named here may do as well.
constexpr Inflation kInflations[] = {{"none", 1},   {"rle", 64},  {"packbits", 64}, {"zips", 1032},
                                     {"zip", 1032}, {"piz", 512}, {"pxr24", 1376},  {"b44", 3},
                                     {"b44a", 11},  {"lzw", 2600}};
constexpr std::uint64_t kMostInflation = 65536;

void blackenFloats(float* floats, std::size_t count) {
  constexpr std::size_t kWorthwhile = std::size_t{8} << 20;
  constexpr std::uintptr_t kPage = 4096;
  auto* const begin = reinterpret_cast<std::byte*>(floats);
  std::byte* const end = begin + count * sizeof(float);
  const auto address = reinterpret_cast<std::uintptr_t>(begin);
  std::byte* const firstPage = begin + (kPage - address % kPage) % kPage;
  const std::size_t pages =
      count < kWorthwhile ? 0 : static_cast<std::size_t>(end - firstPage) / kPage * kPage;
  // Pages that are given back read as zero; where that is refused they are written.
  const bool givenBack = pages > 0 && ::madvise(firstPage, pages, MADV_DONTNEED) == 0;
  std::byte* const rest = givenBack ? firstPage + pages : begin;
  if (givenBack) std::fill(begin, firstPage, std::byte{0});
  std::fill(rest, end, std::byte{0});
}

}  // namespace

void checkWeight(FileKind kind, std::uint64_t pixelBytes, std::string_view compression,
                 std::uint64_t fileBytes) {
  std::uint64_t most = kMostInflation;
  for (const Inflation& inflation : kInflations)
    if (inflation.compression == compression) most = inflation.most;
  if (pixelBytes / most > fileBytes)
    failToRead(kind, "its " + std::to_string(fileBytes) + " bytes are too few for its size");
}

Pixels allocatePixels(const Window& window, bool hasAlpha) {
  Pixels pixels;
  pixels.width = static_cast<std::uint32_t>(window.width());
  pixels.height = static_cast<std::uint32_t>(window.height());
  pixels.rgb = allocateFloats(3 * pixels.count());
  if (hasAlpha) pixels.alpha = allocateFloats(pixels.count());
  if (!pixels.rgb || (hasAlpha && !pixels.alpha)) {
    throw ImageError("there is no memory for its " + sizeText(window.width(), window.height()) +
                     " pixels; scale it down or close other programs");
  }
  return pixels;
}

void blacken(Pixels& pixels) {
  blackenFloats(pixels.rgb.get(), 3 * pixels.count());
  if (pixels.alpha) blackenFloats(pixels.alpha.get(), pixels.count());
}

}  // namespace orv::host
