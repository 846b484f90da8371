#include "tests/faults/live_objects.h"

// The declarations are hidden in optimised builds; the functions are there in all.
#undef NDEBUG
#import <Foundation/Foundation.h>
#import <Foundation/NSDebug.h>
#include <objc/runtime.h>

namespace faults {

void CountObjects(bool on) { GSDebugAllocationActive(on ? YES : NO); }

std::map<std::string, int> LiveObjects() {
  std::map<std::string, int> live;
  Class* classes = GSDebugAllocationClassList();
  for (const Class* kind = classes; *kind; kind++) {
    if (const int count = GSDebugAllocationCount(*kind)) {
      live[class_getName(*kind)] = count;
    }
  }
  NSZoneFree(NSDefaultMallocZone(), classes);
  return live;
}

}  // namespace faults
