#include "tests/support/platform_memory.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>

namespace test_host {
namespace {

constexpr size_t kTooLarge = size_t{1} << 40;
constexpr size_t kFilledBytes = 4096;  // enough to show, and cheap for huge blocks

// Relaxed throughout: an allocation must not order the threads that a race detector watches.
constexpr auto kRelaxed = std::memory_order_relaxed;
std::atomic<long> first_refused{0};
std::atomic<long> refused_count{0};
std::atomic<bool> refused_a_resize{false};
std::atomic<long> attempts{0};
std::atomic<long> live_blocks{0};

// Counts an attempt to get `n` bytes and says whether it may reach the platform.
bool Admit(size_t n, bool resize) {
  const long attempt = attempts.fetch_add(1, kRelaxed) + 1;
  const long first = first_refused.load(kRelaxed);
  if (attempt >= first && attempt < first + refused_count.load(kRelaxed)) {
    refused_a_resize.store(resize, kRelaxed);
    return false;
  }
  return n < kTooLarge;
}

}  // namespace

void FailAllocations(long count, long first) {
  first_refused.store(attempts.load(kRelaxed) + first, kRelaxed);
  refused_count.store(count, kRelaxed);
}

bool RefusedAResize() { return refused_a_resize.load(kRelaxed); }

long AllocationAttempts() { return attempts.load(kRelaxed); }

long LiveBlocks() { return live_blocks.load(kRelaxed); }

void ResetPlatformMemory() {
  refused_count.store(0, kRelaxed);
  attempts.store(0, kRelaxed);
}

void* PlatformMalloc(size_t n) {
  void* p = Admit(n, false) ? malloc(n) : nullptr;
  if (p != nullptr) {
    live_blocks.fetch_add(1, kRelaxed);
    memset(p, 0xA5, std::min(n, kFilledBytes));
  }
  return p;
}

void* PlatformRealloc(void* p, size_t n) { return Admit(n, true) ? realloc(p, n) : nullptr; }

void PlatformFree(void* p) {
  if (p != nullptr) {
    live_blocks.fetch_sub(1, kRelaxed);
  }
  free(p);
}

}  // namespace test_host
