#pragma once

#include <cstddef>

#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {

/// Turns eight vectors into their columns: lane j of the old rows[i] becomes lane i of the new rows[j].
inline void transpose(Float8 (&rows)[8]) {
  __m256 pairs[8];
  for (int i = 0; i < 8; i += 2) {
    pairs[i] = _mm256_unpacklo_ps(rows[i].v, rows[i + 1].v);      // lanes 0, 1 (and 4, 5) of two rows
    pairs[i + 1] = _mm256_unpackhi_ps(rows[i].v, rows[i + 1].v);  // lanes 2, 3 (and 6, 7)
  }
  __m256 quads[8];
  for (int i = 0; i < 8; i += 4) {
    quads[i] = _mm256_shuffle_ps(pairs[i], pairs[i + 2], _MM_SHUFFLE(1, 0, 1, 0));
    quads[i + 1] = _mm256_shuffle_ps(pairs[i], pairs[i + 2], _MM_SHUFFLE(3, 2, 3, 2));
    quads[i + 2] = _mm256_shuffle_ps(pairs[i + 1], pairs[i + 3], _MM_SHUFFLE(1, 0, 1, 0));
    quads[i + 3] = _mm256_shuffle_ps(pairs[i + 1], pairs[i + 3], _MM_SHUFFLE(3, 2, 3, 2));
  }
  for (int i = 0; i < 4; ++i) {
    rows[i].v = _mm256_permute2f128_ps(quads[i], quads[i + 4], 0x20);
    rows[i + 4].v = _mm256_permute2f128_ps(quads[i], quads[i + 4], 0x31);
  }
}

/// Four floats from each of eight addresses, `offset` floats on: lane i of planes[j] is from[i][offset + j].
inline void loadColumns(const float* const (&from)[8], std::ptrdiff_t offset, Float8 (&planes)[4]) {
  __m256 rows[4];
  for (int i = 0; i < 4; ++i)
    rows[i] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(from[i] + offset)),
                                   _mm_loadu_ps(from[i + 4] + offset), 1);
  const __m256 low01 = _mm256_unpacklo_ps(rows[0], rows[1]);
  const __m256 low23 = _mm256_unpacklo_ps(rows[2], rows[3]);
  const __m256 high01 = _mm256_unpackhi_ps(rows[0], rows[1]);
  const __m256 high23 = _mm256_unpackhi_ps(rows[2], rows[3]);
  planes[0].v = _mm256_shuffle_ps(low01, low23, _MM_SHUFFLE(1, 0, 1, 0));
  planes[1].v = _mm256_shuffle_ps(low01, low23, _MM_SHUFFLE(3, 2, 3, 2));
  planes[2].v = _mm256_shuffle_ps(high01, high23, _MM_SHUFFLE(1, 0, 1, 0));
  planes[3].v = _mm256_shuffle_ps(high01, high23, _MM_SHUFFLE(3, 2, 3, 2));
}

}  // namespace orv::hdri::blockedAVX2
