#pragma once

#include <cstring>

namespace orv::host {

/// A pixel: red, green, blue and alpha, or the next pixel's first channel.
typedef float Quad __attribute__((vector_size(16)));

inline Quad load(const float* p) {
  Quad out;
  std::memcpy(&out, p, sizeof out);
  return out;
}

inline void store(float* p, Quad x) { std::memcpy(p, &x, sizeof x); }

// The second where an argument is NaN.
inline Quad lesser(Quad a, Quad b) { return a < b ? a : b; }
inline Quad greater(Quad a, Quad b) { return a > b ? a : b; }
inline float lesser(float a, float b) { return a < b ? a : b; }
inline float greater(float a, float b) { return a > b ? a : b; }

}  // namespace orv::host
