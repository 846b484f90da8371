#include "core/text/nustr.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <wchar.h>

#include "core/base/fatal.h"

namespace core {
namespace {

constexpr char kSource[] = "core/nustr";

// The low 32 bits of a length.
int CutTo32Bits(size_t len) { return static_cast<int>(static_cast<uint32_t>(len)); }

template <class C>
C* CopyText(const C* s, size_t units) {
  C* copy = AllocString<C>(units);
  memcpy(copy, s, units * sizeof(C));
  copy[units] = 0;
  return copy;
}

template <class C>
C* Duplicate(const C* s) {
  return s == nullptr ? nullptr : CopyText(s, len_of_str(s));
}

const char* NextInList(const char* z) { return z + strlen(z) + 1; }

}  // namespace

template <>
size_t len_of_str<char>(const char* s) {
  return ::strlen(s);
}

template <>
size_t len_of_str<wchar_t>(const wchar_t* s) {
  return ::wcslen(s);
}

int nustrnlen(const char* s, size_t max) { return max == 0 ? 0 : CutTo32Bits(::strnlen(s, max)); }

int nuwstrnlen(const wchar_t* s, size_t max) { return max == 0 ? 0 : CutTo32Bits(::wcsnlen(s, max)); }

char* nustrdup(const char* s) { return Duplicate(s); }

wchar_t* wstrdup(const wchar_t* s) { return Duplicate(s); }

char* strduplen(const char* s, size_t n) {
  AssertAt(s != nullptr, kSource, 46);
  return CopyText(s, n);
}

wchar_t* wstrduplen(const wchar_t* s, size_t n) {
  AssertAt(s != nullptr, kSource, 65);
  return CopyText(s, n);
}

int zstrings_get_count(const char* z) {
  int count = 0;
  for (; *z != 0; z = NextInList(z)) {
    count++;
  }
  return count;
}

const char* zstrings_get_str_at(const char* z, int i) {
  AssertAt(i >= 0, kSource, 241);
  if (i == 0) {
    return z;
  }
  for (; i > 0 && *z != 0; i--) {
    z = NextInList(z);
  }
  return *z == 0 ? nullptr : z;
}

int zstrings_get_str_pos(const char* z, const char* s, bool case_sensitive) {
  AssertAt(z != nullptr, kSource, 212);
  if (s == nullptr) {
    return -1;
  }
  for (int i = 0; *z != 0; z = NextInList(z), i++) {
    if ((case_sensitive ? ::strcmp(z, s) : ::strcasecmp(z, s)) == 0) {
      return i;
    }
  }
  return -1;
}

bool str_to_int64(const char* s, int64_t* out) {
  char* end = nullptr;
  errno = 0;
  const long long value = ::strtoll(s, &end, 0);
  if (errno != 0 || end == s) {
    return true;
  }
  AssertAt(out != nullptr, kSource, 320);
  *out = value;
  return false;
}

int64_t _atoi64(const char* s) { return ::strtoll(s, nullptr, 10); }

char* str_to_utf8(const char* s, size_t* out_len) {
  if (out_len != nullptr) {
    *out_len = s == nullptr ? 0 : strlen(s);
  }
  return nustrdup(s);
}

}  // namespace core
