#include "scene/tone_map.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "maps/row_loop.h"

namespace orv::scene {
namespace {

/// The thresholds of the dither, (rank + 1/2) / 64: the bits of x ^ y and of y interleaved, lowest first.
constexpr auto kThresholds = [] {
  std::array<std::array<float, 8>, 8> table{};
  for (unsigned y = 0; y < 8; ++y) {
    for (unsigned x = 0; x < 8; ++x) {
      unsigned rank = 0;
      for (unsigned bit = 0; bit < 3; ++bit) rank = rank << 2 | ((x ^ y) >> bit & 1u) << 1 | (y >> bit & 1u);
      table[y][x] = (static_cast<float>(rank) + 0.5f) / 64;
    }
  }
  return table;
}();

/// 0 for what is no light; where the curve is 1 to a ten-thousandth, larger values would overflow.
float light(float value) { return value > 0.0f ? std::min(value, 1e4f) : 0.0f; }

/// `display(pixel)` of every pixel in bytes.
template <typename Display>
std::vector<std::uint8_t> bytesOf(const hdri::EnvImage& image, const Display& display) {
  std::vector<std::uint8_t> bytes(image.pixels.size() * 3);
  const auto width = static_cast<std::size_t>(image.width);
  forEachRow(static_cast<std::uint32_t>(image.height), 1, [&](std::size_t y) {
    const hdri::Rgb* const row = image.pixels.data() + y * width;
    std::uint8_t* out = bytes.data() + 3 * y * width;
    for (std::size_t x = 0; x < width; ++x) {
      const hdri::Rgb shown = display(row[x]);
      for (const float channel : {shown.r, shown.g, shown.b}) *out++ = dithered(encoded(channel), x, y);
    }
  });
  return bytes;
}

}  // namespace

hdri::Rgb toneCurve(const hdri::Rgb& pixel) {
  constexpr float kStart = 0.8f;
  constexpr float kDesaturation = 0.15f;
  const float r = light(pixel.r), g = light(pixel.g), b = light(pixel.b);
  const float peak = std::max({r, g, b});
  if (peak <= kStart) return {r, g, b};

  // peak' = 1 - d^2 / (peak + d - start), d = 1 - start
  constexpr float d = 1.0f - kStart;
  const float newPeak = 1.0f - d * d / (peak + d - kStart);
  const float scale = newPeak / peak;
  const float white = 1.0f - 1.0f / (kDesaturation * (peak - newPeak) + 1.0f);
  const auto shown = [&](float channel) {
    const float scaled = channel * scale;
    return scaled + (newPeak - scaled) * white;
  };
  return {shown(r), shown(g), shown(b)};
}

float encoded(float linear) {
  return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

std::uint8_t dithered(float value, std::size_t x, std::size_t y) {
  return static_cast<std::uint8_t>(std::clamp(value, 0.0f, 1.0f) * 255.0f + kThresholds[y % 8][x % 8]);
}

std::vector<std::uint8_t> encodePicture(const hdri::EnvImage& picture) {
  return bytesOf(picture, [](const hdri::Rgb& pixel) { return pixel; });
}

std::vector<std::uint8_t> toneMap(const hdri::EnvImage& map, float stops) {
  const float gain = std::exp2(stops);
  return bytesOf(map, [gain](const hdri::Rgb& pixel) {
    return toneCurve({pixel.r * gain, pixel.g * gain, pixel.b * gain});
  });
}

}  // namespace orv::scene
