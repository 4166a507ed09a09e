#include "scene/exr_chunks.h"

#include <bit>

namespace orv::scene {
namespace {

template <class Sample, class Convert>
void pack(const hdri::Rgb* pixels, std::size_t width, std::size_t rows, Sample* out, const Convert& convert) {
  for (std::size_t y = 0; y < rows; ++y) {
    const hdri::Rgb* const row = pixels + y * width;
    Sample* const blue = out + 3 * y * width;
    Sample* const green = blue + width;
    Sample* const red = green + width;
    for (std::size_t x = 0; x < width; ++x) {
      blue[x] = convert(row[x].b);
      green[x] = convert(row[x].g);
      red[x] = convert(row[x].r);
    }
  }
}

}  // namespace

std::uint16_t toHalf(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const std::uint32_t sign = bits >> 16 & 0x8000u;
  const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
  // Normal halves: a smaller exponent, and 13 bits rounded away.
  const std::uint32_t normal = (magnitude - (112u << 23) + 0xFFFu + (magnitude >> 13 & 1u)) >> 13;
  // Below 2^-14 halves are multiples of 2^-24, the last bit of a float from 0.5 to 1: the sum rounds to it.
  const std::uint32_t small =
      std::bit_cast<std::uint32_t>(std::bit_cast<float>(magnitude) + 0.5f) - (126u << 23);
  const std::uint32_t large = magnitude > 0x7F800000u ? 0x7E00u : 0x7C00u;
  std::uint32_t half = magnitude < (113u << 23) ? small : normal;
  half = magnitude >= (143u << 23) ? large : half;
  return static_cast<std::uint16_t>(sign | half);
}

void packRows(const hdri::Rgb* pixels, std::size_t width, std::size_t rows, float* out) {
  pack(pixels, width, rows, out, [](float value) { return value; });
}

void packRows(const hdri::Rgb* pixels, std::size_t width, std::size_t rows, std::uint16_t* out) {
  pack(pixels, width, rows, out, toHalf);
}

void splitAndDifference(const std::uint8_t* in, std::size_t size, std::uint8_t* out) {
  if (size < 2) {
    if (size == 1) out[0] = in[0];
    return;
  }
  const auto difference = [](std::uint8_t value, std::uint8_t before) {
    return static_cast<std::uint8_t>(value - before + 128);
  };
  const std::size_t even = (size + 1) / 2;
  const std::size_t odd = size / 2;
  std::uint8_t* const second = out + even;
  out[0] = in[0];
  second[0] = difference(in[1], in[2 * (even - 1)]);
  for (std::size_t i = 1; i < odd; ++i) {
    out[i] = difference(in[2 * i], in[2 * i - 2]);
    second[i] = difference(in[2 * i + 1], in[2 * i - 1]);
  }
  if (even > odd && even > 1) out[odd] = difference(in[2 * odd], in[2 * odd - 2]);
}

}  // namespace orv::scene
