// A question that the system's own CFPlugIn does not answer, for tests.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

// Returns how many instances of `factoryUUID` were added with CFPlugInAddInstanceForFactory and not
// removed since.
extern "C" __attribute__((visibility("default"))) CFIndex SorrelPlugInInstanceCount(CFUUIDRef factoryUUID);
