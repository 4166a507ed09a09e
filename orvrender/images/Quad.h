#pragma once

#include <cstdint>
#include <cstring>

namespace orv::host {

/// A pixel: red, green, blue and alpha, or the next pixel's first channel.
typedef float Quad __attribute__((vector_size(16)));
typedef std::int32_t IntQuad __attribute__((vector_size(16)));

inline Quad load(const float* p) {
  Quad out;
  std::memcpy(&out, p, sizeof out);
  return out;
}

/// Two floats; the others are 0.
inline Quad loadPair(const float* p) {
  typedef std::int64_t Pair __attribute__((vector_size(16)));
  Pair out{};
  std::int64_t bits;
  std::memcpy(&bits, p, sizeof bits);
  out[0] = bits;
  return reinterpret_cast<Quad>(out);
}

inline void store(float* p, Quad x) { std::memcpy(p, &x, sizeof x); }

// The second where an argument is NaN.
inline Quad lesser(Quad a, Quad b) { return a < b ? a : b; }
inline Quad greater(Quad a, Quad b) { return a > b ? a : b; }
inline float lesser(float a, float b) { return a < b ? a : b; }
inline float greater(float a, float b) { return a > b ? a : b; }

}  // namespace orv::host
