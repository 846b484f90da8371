// Small helpers over raw memory.
#pragma once

#include <stddef.h>

namespace core {

// Returns a new copy of the `n` bytes at `p`, freed with MyFree; null when `p` is null or `n` is 0.
void* memdup(const void* p, size_t n);

// Copies `n` bytes and returns the end of what was written, `dst` + `n`, so that copies chain.
// Requires: the ranges do not overlap.
void* memcpy_e(void* dst, const void* src, size_t n);

}  // namespace core
