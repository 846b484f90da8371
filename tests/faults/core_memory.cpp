#include "tests/faults/core_memory.h"

#include <stdlib.h>

#include <atomic>

namespace faults {
namespace {

// Relaxed throughout: an allocation must not order the threads that a race detector watches.
constexpr auto kRelaxed = std::memory_order_relaxed;
std::atomic<long> first_refused{0};
std::atomic<long> refused_count{0};
std::atomic<long> attempts{0};
std::atomic<long> live_blocks{0};
std::atomic<bool> refused_a_resize{false};

bool Refuse(bool resize) {
  const long attempt = attempts.fetch_add(1, kRelaxed) + 1;
  const long first = first_refused.load(kRelaxed);
  if (attempt < first || attempt >= first + refused_count.load(kRelaxed)) {
    return false;
  }
  refused_a_resize.store(resize, kRelaxed);
  return true;
}

}  // namespace

void FailAllocations(long first, long count) {
  first_refused.store(first, kRelaxed);
  refused_count.store(count, kRelaxed);
  attempts.store(0, kRelaxed);
}

long AllocationAttempts() { return attempts.load(kRelaxed); }

bool RefusedAResize() { return refused_a_resize.load(kRelaxed); }

long LiveBlocks() { return live_blocks.load(kRelaxed); }

void* FaultyMalloc(size_t n) {
  void* block = Refuse(false) ? nullptr : malloc(n);
  live_blocks.fetch_add(block ? 1 : 0, kRelaxed);
  return block;
}

void* FaultyRealloc(void* p, size_t n) { return Refuse(true) ? nullptr : realloc(p, n); }

void CountingFree(void* p) {
  live_blocks.fetch_sub(p ? 1 : 0, kRelaxed);
  free(p);
}

}  // namespace faults
