// What agrees on both systems, and the few functions that the compiler itself calls.
#include <ctype.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <time.h>
#include <unwind.h>
#include <wchar.h>
#include <wctype.h>

#include "tests/macho/shims.h"

namespace macho {
namespace {

FILE* standard_error = stderr;
unsigned long stack_guard = 0x5BD1E995A7C3F100;

[[noreturn]] void AssertionFailed(const char* function, const char* file, int line, const char* condition) {
  fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", condition, function, file, line);
  abort();
}

[[noreturn]] void Unexpected() {
  fputs("The image called a function that must not be reached.\n", stderr);
  abort();
}

void FillPattern(void* to, const void* pattern, size_t len) {
  for (size_t i = 0; i < len; i++) {
    static_cast<char*>(to)[i] = static_cast<const char*>(pattern)[i % 16];
  }
}

void Clear(void* to, size_t len) { memset(to, 0, len); }

template <class Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

// A function that reads a number and reports one that does not fit.
template <auto function>
auto ReadNumber(const char* text, char** end, int base) {
  return WithErrno([&] { return function(text, end, base); });
}

#define PLAIN(name) \
  { "_" #name, Address(name) }

}  // namespace

std::span<const Shim> PlainShims() {
  static const Shim shims[] = {
      {"dyld_stub_binder", Address(Unexpected)},  // everything is bound at once
      {"__Unwind_Resume", Address(_Unwind_Resume)},
      {"___assert_rtn", Address(AssertionFailed)},
      {"___bzero", Address(Clear)},
      {"___stack_chk_fail", Address(Unexpected)},
      {"___stack_chk_guard", &stack_guard},
      {"___stderrp", &standard_error},
      {"_memset_pattern16", Address(FillPattern)},
      {"_memchr", Address<const void*(const void*, int, size_t)>(memchr)},
      {"_strchr", Address<const char*(const char*, int)>(strchr)},
      {"_strrchr", Address<const char*(const char*, int)>(strrchr)},
      {"_strstr", Address<const char*(const char*, const char*)>(strstr)},
      {"_wcschr", Address<const wchar_t*(const wchar_t*, wchar_t)>(wcschr)},
      {"_wcsrchr", Address<const wchar_t*(const wchar_t*, wchar_t)>(wcsrchr)},
      {"_strtol", Address(ReadNumber<strtol>)},
      {"_strtoll", Address(ReadNumber<strtoll>)},
      {"_strtoul", Address(ReadNumber<strtoul>)},
      {"_strtoull", Address(ReadNumber<strtoull>)},
      PLAIN(abort),
      PLAIN(fprintf),
      PLAIN(memcmp),
      PLAIN(memcpy),
      PLAIN(memmove),
      PLAIN(memset),
      PLAIN(localtime_r),
      PLAIN(raise),
      PLAIN(strcasecmp),
      PLAIN(strcat),
      PLAIN(strcmp),
      PLAIN(strcpy),
      PLAIN(strcspn),
      PLAIN(strlen),
      PLAIN(strncasecmp),
      PLAIN(strncmp),
      PLAIN(strnlen),
      PLAIN(strspn),
      PLAIN(tolower),
      PLAIN(towlower),
      PLAIN(tzset),
      PLAIN(wcscasecmp),
      PLAIN(wcscmp),
      PLAIN(wcscspn),
      PLAIN(wcslen),
      PLAIN(wcsncasecmp),
      PLAIN(wcsncmp),
      PLAIN(wcsnlen),
      PLAIN(wmemcpy),
  };
  return shims;
}

}  // namespace macho
