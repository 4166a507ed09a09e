#pragma once

#include <cstddef>
#include <cstdint>

namespace orv::host {

/// The bytes of an OpenEXR chunk from what its ZIP has inflated: each byte but the first is the difference
/// from the one before, plus 128; the first half are the bytes at even places, the second those at odd ones.
/// @param out `size` bytes, not those of `in`.
void addAndInterleave(const std::uint8_t* in, std::size_t size, std::uint8_t* out);

/// Half floats (IEEE 754 binary16) as floats, every value exactly. @param in need not be aligned.
void halvesToFloats(const std::uint8_t* in, std::size_t count, float* out);

}  // namespace orv::host
