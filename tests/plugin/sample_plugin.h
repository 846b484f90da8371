// The instance that the sample plug-in's factory returns.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

struct SampleInstance {
  CFAllocatorRef allocator;
  CFUUIDRef type;
  int made;  // calls of the factory so far
};
