// The library's allocator, compiled over the faulty one. A linker that finds it here does not take it
// from the library.
#include <stdlib.h>

#include "tests/faults/core_memory.h"

#define malloc faults::FaultyMalloc
#define realloc faults::FaultyRealloc
#define free faults::CountingFree

#include "core/mem1.cpp"  // NOLINT(bugprone-suspicious-include)
