// The platform allocator as the library sees it in the tests: it counts, and it fails on demand. Safe
// to use from any thread.
#pragma once

#include <stddef.h>

namespace test_host {

// Fails `count` of the allocations and reallocations that the library asks the platform for, from the
// `first` one after this call on. The tries of one allocation count as one each.
void FailAllocations(long count, long first = 1);

// Whether the attempt that was failed last was to resize a block.
bool RefusedAResize();

// Allocations and reallocations that the library asked the platform for since the last
// ResetPlatformMemory, failed ones included.
long AllocationAttempts();

// Blocks that the library allocated and has not freed yet.
long LiveBlocks();

// Forgets the attempts and the pending failures.
void ResetPlatformMemory();

// What core/base/mem1.cpp calls in the tests. New blocks are filled with a pattern, so that reading one
// before writing it shows. Sizes that no platform has are refused here, because a sanitizer's
// allocator would stop the program.
void* PlatformMalloc(size_t n);
void* PlatformRealloc(void* p, size_t n);
void PlatformFree(void* p);

}  // namespace test_host
