#pragma once

#include <immintrin.h>
#include <sys/mman.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

/// What the machine's memory allows, to compare with.
namespace bench {

/// Memory on huge pages, not touched yet.
struct Fresh {
  explicit Fresh(std::size_t n) : bytes((n + (2u << 20) - 1) & ~std::size_t{(2u << 20) - 1}) {
    data = static_cast<float*>(std::aligned_alloc(2u << 20, bytes));
    madvise(data, bytes, MADV_HUGEPAGE);
  }
  ~Fresh() { std::free(data); }
  Fresh(const Fresh&) = delete;
  Fresh& operator=(const Fresh&) = delete;
  std::size_t bytes;
  float* data;
};

/// Writes past the caches in parallel, 64 KB a step.
inline void writeAll(float* data, std::size_t bytes) {
  const std::size_t step = 16384, floats = bytes / 4;
  tbb::parallel_for(std::size_t{0}, (floats + step - 1) / step, [=](std::size_t i) {
    const __m256 value = _mm256_set1_ps(0.5f);
    for (std::size_t k = i * step, end = std::min(floats, (i + 1) * step); k + 8 <= end; k += 8)
      _mm256_stream_ps(data + k, value);
  });
}

/// memcpy in parallel, 64 KB a step.
inline void copyAll(void* to, const void* from, std::size_t bytes) {
  const std::size_t step = 65536;
  tbb::parallel_for(std::size_t{0}, (bytes + step - 1) / step, [=](std::size_t i) {
    std::memcpy(static_cast<char*>(to) + i * step, static_cast<const char*>(from) + i * step,
                std::min(step, bytes - i * step));
  });
}

}  // namespace bench
