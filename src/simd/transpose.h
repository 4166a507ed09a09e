#pragma once

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

}  // namespace orv::hdri::blockedAVX2
