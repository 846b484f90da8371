// The library's allocator, compiled over the tests' platform allocator. A linker that finds it here
// does not take it from the library.
#include <stdlib.h>

#include "tests/support/platform_memory.h"

#define malloc test_host::PlatformMalloc
#define realloc test_host::PlatformRealloc
#define free test_host::PlatformFree

#include "core/base/mem1.cpp"  // NOLINT(bugprone-suspicious-include)
