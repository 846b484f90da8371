#include "core/text/string.h"

#include <ctype.h>
#include <limits.h>
#include <string.h>
#include <strings.h>
#include <wchar.h>
#include <wctype.h>

#include "core/base/fatal.h"
#include "core/text/nustr.h"

namespace core {
namespace {

constexpr char kSource[] = "core/string";

template <class C>
C Same(C c) {
  return c;
}

char LowerInLocale(char c) { return static_cast<char>(::tolower(static_cast<unsigned char>(c))); }

// Units that are no characters, such as undecodable bytes, stay as they are.
wchar_t LowerInLocale(wchar_t c) {
  return c >= 0 && c <= 0x10FFFF ? static_cast<wchar_t>(::towlower(static_cast<wint_t>(c))) : c;
}

template <class C, class Fold>
bool Begins(const C* s, const C* prefix, Fold fold) {
  for (; *prefix != 0; s++, prefix++) {
    if (fold(*s) != fold(*prefix)) {
      return false;
    }
  }
  return true;
}

template <class C, class Fold>
bool Ends(const C* s, const C* suffix, Fold fold) {
  const size_t len = len_of_str(s);
  const size_t suffix_len = len_of_str(suffix);
  return suffix_len <= len && Begins(s + (len - suffix_len), suffix, fold);
}

int CompareUnits(wchar_t a, wchar_t b) {
  if (a < b) {
    return -1;
  }
  // Two units may lie further apart than an int can tell.
  const long long difference = static_cast<long long>(a) - b;
  return difference < INT_MAX ? static_cast<int>(difference) : INT_MAX;
}

}  // namespace

bool strbegins(const char* s, const char* prefix) { return Begins(s, prefix, Same<char>); }

bool tstrbegins(const wchar_t* s, const wchar_t* prefix) { return Begins(s, prefix, Same<wchar_t>); }

bool tstribegins(const wchar_t* s, const wchar_t* prefix) { return Begins(s, prefix, FoldAscii<wchar_t>); }

bool stribegins(const char* s, const char* prefix) {
  AssertAt(s != nullptr && prefix != nullptr, kSource, 40);
  return Begins(s, prefix, [](char c) { return LowerInLocale(c); });
}

bool strends(const char* s, const char* suffix) { return Ends(s, suffix, Same<char>); }

bool striends(const char* s, const char* suffix) { return Ends(s, suffix, FoldAscii<char>); }

bool tstriends(const wchar_t* s, const wchar_t* suffix) { return Ends(s, suffix, FoldAscii<wchar_t>); }

int strncmp_exact(const char* a, const char* b, size_t n) {
  const int order = ::strncmp(a, b, n);
  if (order != 0) {
    return order;
  }
  return ::strnlen(a, n) == n && a[n] != 0 ? 1 : 0;
}

const wchar_t* striprefix_match(const wchar_t* s, const wchar_t* prefix) {
  if (LowerInLocale(*s) != LowerInLocale(*prefix)) {
    return nullptr;
  }
  while (*s != 0 && LowerInLocale(*s) == LowerInLocale(*prefix)) {
    s++;
    prefix++;
  }
  return s;
}

int wcscasecmp(const wchar_t* a, const wchar_t* b) { return wcsncasecmp(a, b, SIZE_MAX); }

int wcsncasecmp(const wchar_t* a, const wchar_t* b, size_t n) {
  for (; n != 0; n--, a++, b++) {
    const wchar_t left = FoldAscii(*a);
    const wchar_t right = FoldAscii(*b);
    if (left != right) {
      return CompareUnits(left, right);
    }
    if (left == 0) {
      return 0;
    }
  }
  return 0;
}

int tstrcmplogical(const wchar_t* a, const wchar_t* b) { return wcscasecmp(a, b); }

}  // namespace core
