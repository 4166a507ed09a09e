#pragma once

#include <immintrin.h>

/// Four lanes of 64-bit floats, for sums that 32 bits can not hold. As for `Float8`, nothing converts
/// implicitly.
namespace orv::hdri::blockedAVX2 {

struct Double4 {
  __m256d v;
};

inline Double4 splat(double x) { return {_mm256_set1_pd(x)}; }
inline Double4 zero4() { return {_mm256_setzero_pd()}; }
/// Loads four doubles from a 32-byte aligned address.
inline Double4 load(const double* aligned) { return {_mm256_load_pd(aligned)}; }
inline Double4 loadUnaligned(const double* p) { return {_mm256_loadu_pd(p)}; }
/// Stores four doubles to a 32-byte aligned address.
inline void store(double* aligned, Double4 a) { _mm256_store_pd(aligned, a.v); }
/// Four floats from a 16-byte aligned address as doubles.
inline Double4 loadFloats(const float* aligned) { return {_mm256_cvtps_pd(_mm_load_ps(aligned))}; }
/// Stores the lanes rounded to floats at a 16-byte aligned address.
inline void storeFloats(float* aligned, Double4 a) { _mm_store_ps(aligned, _mm256_cvtpd_ps(a.v)); }

inline Double4 operator+(Double4 a, Double4 b) { return {_mm256_add_pd(a.v, b.v)}; }
inline Double4 operator-(Double4 a, Double4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
inline Double4 operator*(Double4 a, Double4 b) { return {_mm256_mul_pd(a.v, b.v)}; }
inline Double4 operator/(Double4 a, Double4 b) { return {_mm256_div_pd(a.v, b.v)}; }

/// a * b + c with one rounding.
inline Double4 fma(Double4 a, Double4 b, Double4 c) { return {_mm256_fmadd_pd(a.v, b.v, c.v)}; }
/// a * b - c with one rounding.
inline Double4 fms(Double4 a, Double4 b, Double4 c) { return {_mm256_fmsub_pd(a.v, b.v, c.v)}; }
/// c - a * b with one rounding.
inline Double4 fnma(Double4 a, Double4 b, Double4 c) { return {_mm256_fnmadd_pd(a.v, b.v, c.v)}; }

/// The smaller lane; `b` where either is not a number.
inline Double4 min(Double4 a, Double4 b) { return {_mm256_min_pd(a.v, b.v)}; }
/// The larger lane; `b` where either is not a number.
inline Double4 max(Double4 a, Double4 b) { return {_mm256_max_pd(a.v, b.v)}; }
/// `a` where it is finite, else `other`.
inline Double4 finiteOr(Double4 a, Double4 other) {
  // Infinities and NaNs are the values whose difference with themselves is not 0.
  const __m256d finite = _mm256_cmp_pd(_mm256_sub_pd(a.v, a.v), _mm256_setzero_pd(), _CMP_EQ_OQ);
  return {_mm256_blendv_pd(other.v, a.v, finite)};
}

/// The sum of the four lanes: (0 + 2) + (1 + 3).
inline double horizontalSum(Double4 a) {
  const __m128d pairs = _mm_add_pd(_mm256_castpd256_pd128(a.v), _mm256_extractf128_pd(a.v, 1));
  return _mm_cvtsd_f64(_mm_add_sd(pairs, _mm_unpackhi_pd(pairs, pairs)));
}

/// Turns four vectors into their columns: lane j of the old rows[i] becomes lane i of the new rows[j].
inline void transpose(Double4 (&rows)[4]) {
  const __m256d low01 = _mm256_unpacklo_pd(rows[0].v, rows[1].v);   // lanes 0 and 2 of two rows
  const __m256d high01 = _mm256_unpackhi_pd(rows[0].v, rows[1].v);  // lanes 1 and 3
  const __m256d low23 = _mm256_unpacklo_pd(rows[2].v, rows[3].v);
  const __m256d high23 = _mm256_unpackhi_pd(rows[2].v, rows[3].v);
  rows[0].v = _mm256_permute2f128_pd(low01, low23, 0x20);
  rows[1].v = _mm256_permute2f128_pd(high01, high23, 0x20);
  rows[2].v = _mm256_permute2f128_pd(low01, low23, 0x31);
  rows[3].v = _mm256_permute2f128_pd(high01, high23, 0x31);
}

}  // namespace orv::hdri::blockedAVX2
