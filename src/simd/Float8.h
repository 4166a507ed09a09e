#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <limits>

/// Eight lanes of 32-bit floats, integers and masks. Lane i of a block is the pixel x0 + i of a row. Nothing
/// converts implicitly: `splat`, `load` and `toFloat` say what happens, and a mask is a type of its own.
namespace orv::hdri::blockedAVX2 {

struct Float8 {
  __m256 v;
};

/// Lanes of all ones (true) or all zeros (false).
struct Mask8 {
  __m256 v;
};

struct Int8 {
  __m256i v;
};

inline constexpr int kLanes = 8;

inline Float8 splat(float x) { return {_mm256_set1_ps(x)}; }
inline Float8 zero8() { return {_mm256_setzero_ps()}; }
/// Loads eight floats from a 32-byte aligned address.
inline Float8 load(const float* aligned) { return {_mm256_load_ps(aligned)}; }
inline Float8 loadUnaligned(const float* p) { return {_mm256_loadu_ps(p)}; }
/// Stores eight floats to a 32-byte aligned address.
inline void store(float* aligned, Float8 a) { _mm256_store_ps(aligned, a.v); }
inline void storeUnaligned(float* p, Float8 a) { _mm256_storeu_ps(p, a.v); }
/// Stores past the caches; a 32-byte aligned address. `finishStreaming` orders it before the data is handed
/// over.
inline void storeStreaming(float* aligned, Float8 a) { _mm256_stream_ps(aligned, a.v); }
inline void finishStreaming() { _mm_sfence(); }
/// Asks for the cache line of an address, any address, ahead of its loads.
inline void prefetch(const float* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }
/// 0, 1, 2 … 7.
inline Float8 laneIndex() { return {_mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7)}; }

inline Float8 operator+(Float8 a, Float8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline Float8 operator-(Float8 a, Float8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline Float8 operator*(Float8 a, Float8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline Float8 operator/(Float8 a, Float8 b) { return {_mm256_div_ps(a.v, b.v)}; }

/// a * b + c with one rounding.
inline Float8 fma(Float8 a, Float8 b, Float8 c) { return {_mm256_fmadd_ps(a.v, b.v, c.v)}; }
/// a * b - c with one rounding.
inline Float8 fms(Float8 a, Float8 b, Float8 c) { return {_mm256_fmsub_ps(a.v, b.v, c.v)}; }
/// c - a * b with one rounding.
inline Float8 fnma(Float8 a, Float8 b, Float8 c) { return {_mm256_fnmadd_ps(a.v, b.v, c.v)}; }

/// The smaller lane; `b` where either is not a number.
inline Float8 min(Float8 a, Float8 b) { return {_mm256_min_ps(a.v, b.v)}; }
/// The larger lane; `b` where either is not a number, so `max(x, zero8())` turns a NaN into 0.
inline Float8 max(Float8 a, Float8 b) { return {_mm256_max_ps(a.v, b.v)}; }
inline Float8 clamp01(Float8 a) { return min(max(a, zero8()), splat(1.0f)); }
/// What overflowed as the largest finite float of its sign; a NaN stays one.
inline constexpr float kMost = std::numeric_limits<float>::max();
inline float limited(float x) { return std::min(std::max(x, -kMost), kMost); }
inline Float8 limited(Float8 a) { return min(splat(kMost), max(splat(-kMost), a)); }
inline Float8 sqrt(Float8 a) { return {_mm256_sqrt_ps(a.v)}; }
/// Rounds to the nearest whole number, halves to even.
inline Float8 roundNearest(Float8 a) {
  return {_mm256_round_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}
/// The hardware's reciprocal estimate, relative error below 1.5 * 2^-12.
inline Float8 reciprocalEstimate(Float8 a) { return {_mm256_rcp_ps(a.v)}; }

inline Float8 signBit() { return {_mm256_set1_ps(-0.0f)}; }
inline Float8 abs(Float8 a) { return {_mm256_andnot_ps(signBit().v, a.v)}; }
inline Float8 operator-(Float8 a) { return {_mm256_xor_ps(signBit().v, a.v)}; }
/// The magnitude of `a`, its sign flipped where `sign` is negative.
inline Float8 xorSign(Float8 a, Float8 sign) {
  return {_mm256_xor_ps(a.v, _mm256_and_ps(signBit().v, sign.v))};
}

inline Mask8 operator<(Float8 a, Float8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
inline Mask8 operator<=(Float8 a, Float8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ)}; }
inline Mask8 operator>(Float8 a, Float8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)}; }
inline Mask8 operator>=(Float8 a, Float8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)}; }
inline Mask8 operator==(Float8 a, Float8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }

inline Mask8 operator&(Mask8 a, Mask8 b) { return {_mm256_and_ps(a.v, b.v)}; }
inline Mask8 operator|(Mask8 a, Mask8 b) { return {_mm256_or_ps(a.v, b.v)}; }
inline Mask8 operator^(Mask8 a, Mask8 b) { return {_mm256_xor_ps(a.v, b.v)}; }
/// a and not b.
inline Mask8 andNot(Mask8 a, Mask8 b) { return {_mm256_andnot_ps(b.v, a.v)}; }
inline Mask8 operator!(Mask8 a) { return {_mm256_xor_ps(a.v, _mm256_castsi256_ps(_mm256_set1_epi32(-1)))}; }
/// Masks as words of all ones or all zeros, at a 32-byte aligned address.
inline Mask8 loadMask(const unsigned* aligned) {
  return {_mm256_castsi256_ps(_mm256_load_si256(reinterpret_cast<const __m256i*>(aligned)))};
}
inline void store(unsigned* aligned, Mask8 a) {
  _mm256_store_si256(reinterpret_cast<__m256i*>(aligned), _mm256_castps_si256(a.v));
}
/// Bit i is lane i.
inline int bits(Mask8 a) { return _mm256_movemask_ps(a.v); }
inline bool any(Mask8 a) { return bits(a) != 0; }
inline bool all(Mask8 a) { return bits(a) == 0xff; }

/// `yes` where the mask is set, else `no`.
inline Float8 select(Mask8 mask, Float8 yes, Float8 no) { return {_mm256_blendv_ps(no.v, yes.v, mask.v)}; }
/// `a` where the mask is set, else 0.
inline Float8 keep(Mask8 mask, Float8 a) { return {_mm256_and_ps(mask.v, a.v)}; }
/// 0 where the mask is set, else `a`.
inline Float8 clear(Mask8 mask, Float8 a) { return {_mm256_andnot_ps(mask.v, a.v)}; }
/// `yes` where the sign bit is set, else `no`.
inline Float8 selectBySign(Float8 sign, Float8 yes, Float8 no) {
  return {_mm256_blendv_ps(no.v, yes.v, sign.v)};
}
/// (b - a) t + a, fused: a at t = 0.
inline Float8 lerp(Float8 a, Float8 b, Float8 t) { return fma(b - a, t, a); }

inline Int8 splat(int x) { return {_mm256_set1_epi32(x)}; }
inline Int8 operator+(Int8 a, Int8 b) { return {_mm256_add_epi32(a.v, b.v)}; }
inline Int8 operator-(Int8 a, Int8 b) { return {_mm256_sub_epi32(a.v, b.v)}; }
inline Int8 operator*(Int8 a, Int8 b) { return {_mm256_mullo_epi32(a.v, b.v)}; }
inline Int8 operator&(Int8 a, Int8 b) { return {_mm256_and_si256(a.v, b.v)}; }
inline Int8 operator|(Int8 a, Int8 b) { return {_mm256_or_si256(a.v, b.v)}; }
inline Int8 min(Int8 a, Int8 b) { return {_mm256_min_epi32(a.v, b.v)}; }
inline Int8 max(Int8 a, Int8 b) { return {_mm256_max_epi32(a.v, b.v)}; }
template <int bits>
inline Int8 shiftLeft(Int8 a) {
  return {_mm256_slli_epi32(a.v, bits)};
}
template <int bits>
inline Int8 shiftRight(Int8 a) {
  return {_mm256_srli_epi32(a.v, bits)};
}
inline Mask8 operator==(Int8 a, Int8 b) { return {_mm256_castsi256_ps(_mm256_cmpeq_epi32(a.v, b.v))}; }
inline Mask8 operator>(Int8 a, Int8 b) { return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(a.v, b.v))}; }
inline void store(int* aligned, Int8 a) { _mm256_store_si256(reinterpret_cast<__m256i*>(aligned), a.v); }

/// Stores a aFactor + b bFactor of each lane as 64-bit integers; a and b are not negative.
inline void storeWideSum(std::int64_t* aligned, Int8 a, std::uint32_t aFactor, Int8 b,
                         std::uint32_t bFactor) {
  const auto put = [=](std::int64_t* to, __m128i aHalf, __m128i bHalf) {
    const __m256i ofA = _mm256_mul_epu32(_mm256_cvtepu32_epi64(aHalf), _mm256_set1_epi64x(aFactor));
    const __m256i ofB = _mm256_mul_epu32(_mm256_cvtepu32_epi64(bHalf), _mm256_set1_epi64x(bFactor));
    _mm256_store_si256(reinterpret_cast<__m256i*>(to), _mm256_add_epi64(ofA, ofB));
  };
  put(aligned, _mm256_castsi256_si128(a.v), _mm256_castsi256_si128(b.v));
  put(aligned + 4, _mm256_extracti128_si256(a.v, 1), _mm256_extracti128_si256(b.v, 1));
}

/// Rounds to nearest even; lanes out of range give INT_MIN.
inline Int8 toIntNearest(Float8 a) { return {_mm256_cvtps_epi32(a.v)}; }
/// Rounds toward zero; lanes out of range give INT_MIN.
inline Int8 toIntTruncated(Float8 a) { return {_mm256_cvttps_epi32(a.v)}; }
inline Float8 toFloat(Int8 a) { return {_mm256_cvtepi32_ps(a.v)}; }
inline Float8 bitsToFloat(Int8 a) { return {_mm256_castsi256_ps(a.v)}; }
inline Int8 floatToBits(Float8 a) { return {_mm256_castps_si256(a.v)}; }
/// -1 where the mask is set, else 0.
inline Int8 toInt(Mask8 mask) { return {_mm256_castps_si256(mask.v)}; }

/// Lane i is `table`'s lane index[i] mod 8.
inline Float8 lookUp(Float8 table, Int8 index) { return {_mm256_permutevar8x32_ps(table.v, index.v)}; }
/// Lane i is lane index[i] mod 4 of the half of `table` that lane i is in; faster than all eight.
inline Float8 lookUpInHalves(Float8 table, Int8 index) { return {_mm256_permutevar_ps(table.v, index.v)}; }
/// Four floats from any address, in both halves.
inline Float8 loadHalves(const float* p) { return {_mm256_broadcast_ps(reinterpret_cast<const __m128*>(p))}; }

/// The largest of the eight lanes, which must be numbers.
inline float horizontalMax(Float8 a) {
  __m128 m = _mm_max_ps(_mm256_castps256_ps128(a.v), _mm256_extractf128_ps(a.v, 1));
  m = _mm_max_ps(m, _mm_movehl_ps(m, m));
  m = _mm_max_ss(m, _mm_shuffle_ps(m, m, 1));
  return _mm_cvtss_f32(m);
}

/// Turns eight interleaved RGB pixels (24 floats in three vectors) into a red, a green and a blue plane.
inline void deinterleave(Float8 a, Float8 b, Float8 c, Float8& red, Float8& green, Float8& blue) {
  // a = r0 g0 b0 r1 g1 b1 r2 g2 | b = b2 r3 g3 b3 r4 g4 b4 r5 | c = g5 b5 r6 g6 b6 r7 g7 b7
  const __m256 low = _mm256_permute2f128_ps(a.v, b.v, 0x30);   // r0 g0 b0 r1 | r4 g4 b4 r5
  const __m256 mid = _mm256_permute2f128_ps(a.v, c.v, 0x21);   // g1 b1 r2 g2 | g5 b5 r6 g6
  const __m256 high = _mm256_permute2f128_ps(b.v, c.v, 0x30);  // b2 r3 g3 b3 | b6 r7 g7 b7
  const __m256 rSwap = _mm256_blend_ps(_mm256_blend_ps(low, mid, 0x44), high, 0x22);  // r0 r3 r2 r1
  const __m256 gSwap = _mm256_blend_ps(_mm256_blend_ps(low, mid, 0x99), high, 0x44);  // g1 g0 g3 g2
  const __m256 bSwap = _mm256_blend_ps(_mm256_blend_ps(low, mid, 0x22), high, 0x99);  // b2 b1 b0 b3
  red = {_mm256_permute_ps(rSwap, _MM_SHUFFLE(1, 2, 3, 0))};
  green = {_mm256_permute_ps(gSwap, _MM_SHUFFLE(2, 3, 0, 1))};
  blue = {_mm256_permute_ps(bSwap, _MM_SHUFFLE(3, 0, 1, 2))};
}

/// The reverse of `deinterleave`.
inline void interleave(Float8 red, Float8 green, Float8 blue, Float8& a, Float8& b, Float8& c) {
  const __m256 rSwap = _mm256_permute_ps(red.v, _MM_SHUFFLE(1, 2, 3, 0));
  const __m256 gSwap = _mm256_permute_ps(green.v, _MM_SHUFFLE(2, 3, 0, 1));
  const __m256 bSwap = _mm256_permute_ps(blue.v, _MM_SHUFFLE(3, 0, 1, 2));
  const __m256 low = _mm256_blend_ps(_mm256_blend_ps(rSwap, gSwap, 0x22), bSwap, 0x44);
  const __m256 mid = _mm256_blend_ps(_mm256_blend_ps(rSwap, gSwap, 0x99), bSwap, 0x22);
  const __m256 high = _mm256_blend_ps(_mm256_blend_ps(rSwap, gSwap, 0x44), bSwap, 0x99);
  a = {_mm256_permute2f128_ps(low, mid, 0x20)};
  b = {_mm256_permute2f128_ps(high, low, 0x30)};
  c = {_mm256_permute2f128_ps(mid, high, 0x31)};
}

}  // namespace orv::hdri::blockedAVX2
