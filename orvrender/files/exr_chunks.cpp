#include "orvrender/files/exr_chunks.h"

#include <bit>
#include <cstring>

namespace orv::host {

void addAndInterleave(const std::uint8_t* in, std::size_t size, std::uint8_t* out) {
  if (size == 0) return;
  const std::size_t even = (size + 1) / 2;
  const std::size_t odd = size / 2;
  const std::uint8_t* const second = in + even;
  // The second half starts where the sum of the first ends, so that both can be added up at once.
  std::uint8_t sum = 0;
  for (std::size_t i = 0; i < even; ++i) sum = static_cast<std::uint8_t>(sum + in[i]);
  unsigned a = 128;
  unsigned b = sum - 128u * static_cast<unsigned>(even - 1);
  for (std::size_t i = 0; i < odd; ++i) {
    a += in[i] - 128u;
    b += second[i] - 128u;
    const std::uint8_t pair[2] = {static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)};
    std::memcpy(out + 2 * i, pair, 2);
  }
  if (even > odd) out[2 * odd] = static_cast<std::uint8_t>(a + in[odd] - 128u);
}

void halvesToFloats(const std::uint8_t* in, std::size_t count, float* out) {
  for (std::size_t i = 0; i < count; ++i) {
    std::uint16_t half = 0;
    std::memcpy(&half, in + 2 * i, 2);
    const std::uint32_t sign = (half & 0x8000u) << 16;
    const std::uint32_t magnitude = (half & 0x7FFFu) << 13;
    // The exponent's bias is 112 more in a float. Infinities and NaN have the largest exponent in both.
    const std::uint32_t special = magnitude >= 0x0F800000u ? 112u << 23 : 0u;
    const std::uint32_t normal = magnitude + (112u << 23) + special;
    // Below 2^-14 the bits count 2^-24: behind the point of 2^-14, which is then taken off.
    const std::uint32_t offset = 113u << 23;
    const std::uint32_t small =
        std::bit_cast<std::uint32_t>(std::bit_cast<float>(magnitude + offset) - std::bit_cast<float>(offset));
    out[i] = std::bit_cast<float>(sign | (magnitude < 0x00800000u ? small : normal));
  }
}

}  // namespace orv::host
