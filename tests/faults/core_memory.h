// The platform allocator under the library in these tests: it fails where a test says, and it counts.
#pragma once

#include <stddef.h>

namespace faults {

// Refuses `count` attempts to get memory, from the `first` one after this call on. Attempts are
// counted from 1; those of a retry count as well.
void FailAllocations(long first, long count);

// Attempts since the last FailAllocations, refused ones included.
long AllocationAttempts();

// Whether the attempt that was refused last was to resize a block.
bool RefusedAResize();

// Blocks that were handed out and not freed yet.
long LiveBlocks();

void* FaultyMalloc(size_t n);
void* FaultyRealloc(void* p, size_t n);
void CountingFree(void* p);

}  // namespace faults
