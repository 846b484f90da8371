#include <stdlib.h>

#include <atomic>
#include <new>

#include "tests/macho/image_memory.h"
#include "tests/macho/shims.h"

namespace macho {
namespace {

std::atomic<long> live_blocks = 0;
std::atomic<long> calls = 0;
std::atomic<long> first_failing = 0;  // as `calls` counts
std::atomic<long> first_again = 0;

bool Refused() {
  const long call = ++calls;
  return call >= first_failing && call < first_again;
}

void* Counted(void* block) {
  live_blocks += block != nullptr;
  return block;
}

void* NoMemory() {
  *ImageErrno() = ENOMEM;
  return nullptr;
}

void* Malloc(size_t size) { return Refused() ? NoMemory() : Counted(malloc(size)); }

void* Calloc(size_t count, size_t size) { return Refused() ? NoMemory() : Counted(calloc(count, size)); }

void* Realloc(void* block, size_t size) {
  if (Refused()) {
    return NoMemory();
  }
  void* moved = realloc(block, size);
  return block ? moved : Counted(moved);
}

void Free(void* block) {
  live_blocks -= block != nullptr;
  free(block);
}

void* New(size_t size) {
  if (Refused()) {
    throw std::bad_alloc();
  }
  return Counted(::operator new(size));
}

void Delete(void* block) {
  live_blocks -= block != nullptr;
  ::operator delete(block);
}

void DeleteSized(void* block, size_t) { Delete(block); }

void* NewArray(size_t size) {
  if (Refused()) {
    throw std::bad_alloc();
  }
  return Counted(::operator new[](size));
}

void DeleteArray(void* block) {
  live_blocks -= block != nullptr;
  ::operator delete[](block);
}

void DeleteArraySized(void* block, size_t) { DeleteArray(block); }

}  // namespace

long LiveBlocks() { return live_blocks; }

long AllocationCalls() { return calls; }

void FailAllocations(long first, long count) {
  first_failing = calls + first;
  first_again = calls + first + count;
}

std::span<const Shim> MemoryShims() {
  static const Shim shims[] = {
      {"_calloc", reinterpret_cast<void*>(Calloc)},
      {"_free", reinterpret_cast<void*>(Free)},
      {"_malloc", reinterpret_cast<void*>(Malloc)},
      {"_realloc", reinterpret_cast<void*>(Realloc)},
  };
  return shims;
}

std::span<const Shim> OperatorShims() {
  static const Shim shims[] = {
      {"__ZdaPv", reinterpret_cast<void*>(DeleteArray)}, {"__ZdaPvm", reinterpret_cast<void*>(DeleteArraySized)},
      {"__ZdlPv", reinterpret_cast<void*>(Delete)},      {"__ZdlPvm", reinterpret_cast<void*>(DeleteSized)},
      {"__Znam", reinterpret_cast<void*>(NewArray)},     {"__Znwm", reinterpret_cast<void*>(New)},
  };
  return shims;
}

}  // namespace macho
