#pragma once

#include <cstddef>

extern "C" {

/// Allocates `bytes` at a multiple of `alignment` (a power of two, at least 8). Contents are not initialised.
/// @return the storage, to be given back with `orv_free_aligned`, or null when there is none. Thread-safe.
void* orv_malloc_aligned(std::size_t bytes, std::size_t alignment);

/// Gives back storage of `orv_malloc_aligned`; null is ignored. Thread-safe.
void orv_free_aligned(void* storage);

/// Allocates `bytes` for an object that the host owns and frees, such as a node's float array.
/// @return the storage, to be given back with `orv_free`, or null when there is none. Thread-safe.
void* orv_malloc(std::size_t bytes);

/// Gives back storage of `orv_malloc`; null is ignored. Thread-safe.
void orv_free(void* storage);

}  // extern "C"
