#include "scene/tone_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "maps/row_loop.h"

namespace orv::scene {

std::uint8_t toneMapped(float linear, float gain) {
  // Beyond this the curve is 1; the squares below would overflow. A NaN fails the comparison.
  constexpr float kWhite = 1e4f;
  const float exposed = linear * gain;
  const float x = exposed > 0.0f ? std::min(exposed, kWhite) : 0.0f;
  // y = x (2.51 x + 0.03) / (x (2.43 x + 0.59) + 0.14)
  const float y = std::min(x * (2.51f * x + 0.03f) / (x * (2.43f * x + 0.59f) + 0.14f), 1.0f);
  const float encoded = y <= 0.0031308f ? 12.92f * y : 1.055f * std::pow(y, 1.0f / 2.4f) - 0.055f;
  return static_cast<std::uint8_t>(std::lround(encoded * 255.0f));
}

std::vector<std::uint8_t> toneMap(const hdri::EnvImage& map, float stops) {
  std::vector<std::uint8_t> bytes(map.pixels.size() * 3);
  const float gain = std::exp2(stops);
  const auto width = static_cast<std::size_t>(map.width);
  forEachRow(static_cast<std::uint32_t>(map.height), 1, [&](std::size_t y) {
    const hdri::Rgb* pixel = map.pixels.data() + y * width;
    std::uint8_t* out = bytes.data() + 3 * y * width;
    for (const hdri::Rgb* const end = pixel + width; pixel != end; ++pixel, out += 3) {
      out[0] = toneMapped(pixel->r, gain);
      out[1] = toneMapped(pixel->g, gain);
      out[2] = toneMapped(pixel->b, gain);
    }
  });
  return bytes;
}

}  // namespace orv::scene
