// The library's allocator: a thin layer over the platform's, which retries, warns the host and then
// stops the process instead of returning null. Safe to call from any thread.
#pragma once

#include <stddef.h>

namespace core {

// Returns a new block of `n` bytes, freed with MyFree; null for `n` = 0 and never otherwise: after
// three failed tries, each reported through WarnNoMemory, the process stops.
// Requires: `n` is not negative when taken as signed.
void* MyMalloc(size_t n);

// Resizes `p` to `n` bytes, moving it if need be, and returns the block. A null `p` is MyMalloc(n);
// `n` = 0 frees `p` and returns null. Failure is handled as in MyMalloc.
void* MyRealloc(void* p, size_t n);

// Returns a new zero-filled block of `count` elements of `size` bytes; null when that is nothing. A
// product that does not fit stops the process like any other size that cannot be had.
void* MyCalloc(size_t count, size_t size);

// Frees `p`, which may be null. The flag is accepted and ignored.
void MyFree(void* p, bool flag = false);

}  // namespace core
