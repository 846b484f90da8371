#include "core/util/util_misc.h"

#include <string.h>
#include <sys/stat.h>

#include "core/base/fatal.h"
#include "core/base/mem1.h"

namespace core {
namespace {

constexpr char kSource[] = "core/util";

// What the C library's isprint says before any locale is set.
bool IsPrintable(char c) { return c >= ' ' && c <= '~'; }

struct ReversedBytes {
  unsigned char of[256];
};

consteval ReversedBytes ReverseEveryByte() {
  ReversedBytes reversed{};
  for (int byte = 0; byte < 256; ++byte) {
    int bits = 0;
    for (int i = 0; i < 8; ++i) {
      bits |= (byte >> i & 1) << (7 - i);
    }
    reversed.of[byte] = static_cast<unsigned char>(bits);
  }
  return reversed;
}

constexpr ReversedBytes kReversed = ReverseEveryByte();

}  // namespace

char* ReplaceNonAscii(const char* text, ptrdiff_t length, char replacement) {
  const size_t count = length < 1 ? 0 : static_cast<size_t>(length);
  char* copy = new char[count + 1];
  for (size_t i = 0; i < count; ++i) {
    copy[i] = IsPrintable(text[i]) ? text[i] : replacement;
  }
  copy[count] = 0;
  return copy;
}

void InitStruct(void* p, uint32_t size) {
  AssertAt(size >= sizeof size, kSource, 1002);
  memcpy(p, &size, sizeof size);
  memset(static_cast<char*>(p) + sizeof size, 0, size - sizeof size);
}

void ReverseBitsCopy(void* dst, const void* src, ptrdiff_t n) {
  auto* to = static_cast<unsigned char*>(dst);
  const auto* from = static_cast<const unsigned char*>(src);
  for (ptrdiff_t i = 0; i < n; ++i) {
    to[i] = kReversed.of[from[i]];
  }
}

bool DoGetFileSize(int fd, uint64_t* size) {
  struct stat status;
  if (::fstat(fd, &status) != 0) {
    return false;
  }
  *size = static_cast<uint64_t>(status.st_size);
  return true;
}

void free_str(char* s) { MyFree(s); }

void free_tstr(wchar_t* s) { MyFree(s); }

}  // namespace core
