// What the loaded image takes from the heap: counted, and failed on demand. Nothing that Foundation
// allocates on its behalf is seen here. Safe from any thread.
#pragma once

namespace macho {

// Blocks that the image has allocated and not yet freed.
long LiveBlocks();

// Calls that asked for a block since the start.
long AllocationCalls();

// Makes `count` calls fail from the `first` one on, 1 being the next. A count of 0 lets all succeed again.
void FailAllocations(long first, long count);

}  // namespace macho
