#include "core/base/memutils.h"

#include <string.h>

#include "core/base/mem1.h"

namespace core {

void* memdup(const void* p, size_t n) {
  void* copy = p != nullptr ? MyMalloc(n) : nullptr;
  if (copy != nullptr) {
    memcpy(copy, p, n);
  }
  return copy;
}

void* memcpy_e(void* dst, const void* src, size_t n) {
  if (n != 0) {  // an empty copy may come with null pointers
    memcpy(dst, src, n);
  }
  return static_cast<unsigned char*>(dst) + n;
}

}  // namespace core
