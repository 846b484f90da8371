// What this process uses at the moment.
#pragma once

#include <stddef.h>

namespace bench {

// Resident bytes, now and at their highest since the process began or RestartPeak was called.
size_t ResidentBytes();
size_t PeakResidentBytes();

// Begins a new peak at what is resident now. Throws when the system does not let it.
void RestartPeak();

// Bytes in blocks that the platform's allocator has handed out and not got back.
size_t HeapBytes();

int OpenDescriptors();

}  // namespace bench
