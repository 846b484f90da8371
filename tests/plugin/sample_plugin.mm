// A plug-in for the tests of the host: its factories hand out what they were called with.
#include "tests/plugin/sample_plugin.h"

namespace {

SampleInstance last;

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* SampleFactory(CFAllocatorRef allocator, CFUUIDRef typeUUID) {
  last = {allocator, typeUUID, last.made + 1};
  return &last;
}

__attribute__((visibility("default"))) void* DecliningFactory(CFAllocatorRef, CFUUIDRef) { return nullptr; }

}  // extern "C"
