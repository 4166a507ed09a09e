#pragma once

#include <xmmintrin.h>

#include <cstdint>
#include <cstring>

// Eight-lane arithmetic of the sky, in the compiler's portable vectors: the same source serves any processor,
// and a wider one where a kernel is compiled for it. Every operation is inlined into its kernel, so that no
// vector crosses a call.

namespace orv::host {

/// Eight values, one a wavelength or one a step of a path, as they lie in tables.
struct alignas(32) Spectrum {
  float v[8];
};

typedef float Lanes __attribute__((vector_size(32)));
typedef std::int32_t IntLanes __attribute__((vector_size(32)));
typedef float Quad __attribute__((vector_size(16)));

/// Whether kernels compiled for AVX2 may run. No fused steps are used, so their results are the same.
bool hasAvx2();

[[gnu::always_inline]] inline Lanes splat(float x) { return Lanes{x, x, x, x, x, x, x, x}; }

/// From eight floats anywhere.
[[gnu::always_inline]] inline Lanes load(const float* p) {
  Lanes out;
  std::memcpy(&out, p, sizeof out);
  return out;
}
[[gnu::always_inline]] inline IntLanes load(const std::uint8_t (&bytes)[8]) {
  return IntLanes{bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]};
}
[[gnu::always_inline]] inline Lanes load(const Spectrum& s) { return load(s.v); }

[[gnu::always_inline]] inline void store(float* p, Lanes x) { std::memcpy(p, &x, sizeof x); }
[[gnu::always_inline]] inline void store(Spectrum& s, Lanes x) { store(s.v, x); }
[[gnu::always_inline]] inline void store(std::int32_t* p, IntLanes x) { std::memcpy(p, &x, sizeof x); }

[[gnu::always_inline]] inline void store(float* p, Quad x) { std::memcpy(p, &x, sizeof x); }
/// The first and the last four lanes.
[[gnu::always_inline]] inline Quad lowHalf(Lanes x) { return __builtin_shufflevector(x, x, 0, 1, 2, 3); }
[[gnu::always_inline]] inline Quad highHalf(Lanes x) { return __builtin_shufflevector(x, x, 4, 5, 6, 7); }

/// Stores past the caches, to an address of whole Quads; `finishStreaming` orders it before the data is
/// handed over. Any x86-64 processor does it four at a time.
[[gnu::always_inline]] inline void storeStreaming(float* p, Quad x) { _mm_stream_ps(p, x); }
inline void finishStreaming() { _mm_sfence(); }

// The first where an argument is NaN.
[[gnu::always_inline]] inline Lanes max(Lanes a, Lanes b) { return b > a ? b : a; }
[[gnu::always_inline]] inline Lanes min(Lanes a, Lanes b) { return b < a ? b : a; }
[[gnu::always_inline]] inline IntLanes min(IntLanes a, IntLanes b) { return b < a ? b : a; }

[[gnu::always_inline]] inline Lanes clamp(Lanes x, Lanes low, Lanes high) { return min(max(x, low), high); }
[[gnu::always_inline]] inline Lanes clamp(Lanes x, float low, float high) {
  return clamp(x, splat(low), splat(high));
}

/// Towards zero.
[[gnu::always_inline]] inline IntLanes truncate(Lanes x) { return __builtin_convertvector(x, IntLanes); }
[[gnu::always_inline]] inline Lanes toFloat(IntLanes x) { return __builtin_convertvector(x, Lanes); }

/// Of values at least 0.
[[gnu::always_inline]] inline Lanes sqrt(Lanes x) {
  Lanes out;
  for (int i = 0; i < 8; ++i) out[i] = __builtin_sqrtf(x[i]);
  return out;
}

/// e^x, relative error below 2e-7; x is raised to -87 and lowered to 88. Polynomial after Cephes expf.
[[gnu::always_inline]] inline Lanes exp(Lanes x) {
  x = clamp(x, -87.0f, 88.0f);
  // Adding 1.5 x 2^23 rounds to the nearest integer.
  const Lanes n = (x * 1.44269504f + 12582912.0f) - 12582912.0f;
  x = x - n * 0.693359375f;
  x = x + n * 2.12194440e-4f;
  Lanes p = splat(1.9875691500e-4f);
  p = p * x + 1.3981999507e-3f;
  p = p * x + 8.3334519073e-3f;
  p = p * x + 4.1665795894e-2f;
  p = p * x + 1.6666665459e-1f;
  p = p * x + 5.0000001201e-1f;
  p = p * x * x + x + 1.0f;
  const IntLanes power = (truncate(n) + 127) << 23;
  Lanes scale;
  std::memcpy(&scale, &power, sizeof scale);
  return p * scale;
}

/// Arc sine of values in [-1, 1], radians; error below 3e-7. Polynomial after Abramowitz & Stegun 4.4.46.
[[gnu::always_inline]] inline Lanes arcsin(Lanes x) {
  const Lanes a = min(max(x, -x), splat(1.0f));
  Lanes p = splat(-0.0012624911f);
  p = p * a + 0.0066700901f;
  p = p * a - 0.0170881256f;
  p = p * a + 0.0308918810f;
  p = p * a - 0.0501743046f;
  p = p * a + 0.0889789874f;
  p = p * a - 0.2145988016f;
  p = p * a + 1.5707963050f;
  const Lanes positive = 1.57079633f - sqrt(1.0f - a) * p;
  return x < 0.0f ? -positive : positive;
}

}  // namespace orv::host
