// What the library and the reader take from the platform's allocator, to the byte. The program is
// linked so that their calls come here; the platform's own libraries are not counted.
#pragma once

#include <stddef.h>

namespace hostile {

// The counts of a stretch of time. Bytes are those of whole blocks, as the allocator rounds them.
struct MemoryUse {
  size_t peak = 0;  // more bytes than at the start, at most
  size_t calls = 0;
  long left = 0;  // blocks more than at the start
};

// Counts from its making on. One at a time; what other threads take is counted too.
class MemoryCount {
 public:
  MemoryCount();
  MemoryUse Use() const;

 private:
  size_t bytes_;
  size_t calls_;
  long blocks_;
};

}  // namespace hostile
