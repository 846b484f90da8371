#include "core/base/mem1.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "core/base/fatal.h"
#include "core/base/host.h"

namespace core {
namespace {

constexpr char kSource[] = "core/mem1";
constexpr int kMaxTries = 3;

}  // namespace

void* MyMalloc(size_t n) {
  AssertAt(n <= PTRDIFF_MAX, kSource, 192);
  if (n == 0) {
    return nullptr;
  }
  for (int tries = 0; tries < kMaxTries; ++tries) {
    void* block = malloc(n);
    if (block != nullptr) [[likely]] {
      return block;
    }
    WarnNoMemory(n);
  }
  FatalAssert(kSource, 216);
}

void* MyRealloc(void* p, size_t n) {
  if (p == nullptr) {
    return MyMalloc(n);
  }
  if (n == 0) {
    free(p);
    return nullptr;
  }
  // On purpose: negative sizes are not told apart here; the platform refuses them three times.
  for (int tries = 0; tries < kMaxTries; ++tries) {
    void* block = realloc(p, n);
    if (block != nullptr) [[likely]] {
      return block;
    }
    WarnNoMemory(n);
  }
  FatalAssert(kSource, 258);
}

void* MyCalloc(size_t count, size_t size) {
  size_t bytes;
  if (__builtin_mul_overflow(count, size, &bytes)) {
    bytes = SIZE_MAX;  // a wrapped product would give a block shorter than its elements
  }
  void* block = MyMalloc(bytes);
  if (block != nullptr) {
    memset(block, 0, bytes);
  }
  return block;
}

void MyFree(void* p, bool) { free(p); }

}  // namespace core
