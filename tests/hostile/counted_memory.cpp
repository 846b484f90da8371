#include "tests/hostile/counted_memory.h"

#include <malloc.h>

#include <atomic>

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

std::atomic<size_t> live_bytes = 0;
std::atomic<size_t> peak_bytes = 0;
std::atomic<size_t> calls = 0;
std::atomic<long> live_blocks = 0;

void* Taken(void* block) {
  if (block) {
    const size_t now = live_bytes.fetch_add(malloc_usable_size(block), kRelaxed) + malloc_usable_size(block);
    if (now > peak_bytes.load(kRelaxed)) {
      peak_bytes.store(now, kRelaxed);
    }
    live_blocks.fetch_add(1, kRelaxed);
  }
  return block;
}

void GiveBack(void* block) {
  if (block) {
    live_bytes.fetch_sub(malloc_usable_size(block), kRelaxed);
    live_blocks.fetch_sub(1, kRelaxed);
  }
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
  calls.fetch_add(1, kRelaxed);
  return Taken(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
  calls.fetch_add(1, kRelaxed);
  return Taken(__real_calloc(count, size));
}

// The old and the new block may exist side by side for a moment.
void* __wrap_realloc(void* block, size_t size) {
  calls.fetch_add(1, kRelaxed);
  const size_t old_bytes = block ? malloc_usable_size(block) : 0;
  void* moved = __real_realloc(block, size);
  if (moved || size == 0) {
    Taken(moved);
    live_bytes.fetch_sub(old_bytes, kRelaxed);
    live_blocks.fetch_sub(block ? 1 : 0, kRelaxed);
  }
  return moved;
}

void __wrap_free(void* block) {
  GiveBack(block);
  __real_free(block);
}

}  // extern "C"

namespace hostile {

MemoryCount::MemoryCount()
    : bytes_(live_bytes.load(kRelaxed)), calls_(calls.load(kRelaxed)), blocks_(live_blocks.load(kRelaxed)) {
  peak_bytes.store(bytes_, kRelaxed);
}

MemoryUse MemoryCount::Use() const {
  return {peak_bytes.load(kRelaxed) - bytes_, calls.load(kRelaxed) - calls_, live_blocks.load(kRelaxed) - blocks_};
}

}  // namespace hostile
