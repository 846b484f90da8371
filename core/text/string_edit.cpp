#include <string.h>
#include <wchar.h>

#include "core/base/fatal.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr char kSource[] = "core/string";

// The address of the first `ch`, or of the terminator.
template <class C>
C* FindOrEnd(C* s, C ch) {
  while (*s != 0 && *s != ch) {
    s++;
  }
  return s;
}

// Copies `len` characters, stores a terminator and returns its address.
template <class C>
C* CopyTerminated(C* dst, const C* src, size_t len) {
  memcpy(dst, src, len * sizeof(C));
  dst[len] = 0;
  return dst + len;
}

template <class C>
void ReplaceAll(C* s, C from, C to) {
  for (; *s != 0; s++) {
    if (*s == from) {
      *s = to;
    }
  }
}

template <class C>
C* CutAt(C* s, C ch) {
  if (s == nullptr) {
    return nullptr;
  }
  C* found = FindOrEnd(s, ch);
  if (*found == 0) {
    return nullptr;
  }
  *found = 0;
  return found + 1;
}

template <class C>
C* NextToken(C** p, C sep) {
  C* token = *p;
  *p = CutAt(token, sep);
  return token;
}

template <class C>
C* NextLine(C* s) {
  C* next = CutAt(s, C{'\n'});
  if (next != nullptr && next - s >= 2 && next[-2] == C{'\r'}) {
    next[-2] = 0;
  }
  return next;
}

template <class C>
bool IsBlank(C c) {
  return c == C{'\t'} || c == C{' '};
}

template <class C>
bool IsTrailing(C c) {
  return IsBlank(c) || c == C{'\n'} || c == C{'\r'};
}

template <class C>
C* TrimInPlace(C* s) {
  if (s == nullptr) {
    return nullptr;
  }
  C* end = s + len_of_str(s);
  while (end != s && IsTrailing(end[-1])) {
    *--end = 0;
  }
  C* start = s;
  while (IsBlank(*start)) {
    start++;
  }
  if (start != s) {
    memmove(s, start, static_cast<size_t>(end - start + 1) * sizeof(C));
  }
  return s;
}

}  // namespace

char* strcpy_e(char* dst, const char* src) { return CopyTerminated(dst, src, strlen(src)); }

wchar_t* tstrcpy_e(wchar_t* dst, const wchar_t* src) { return CopyTerminated(dst, src, ::wcslen(src)); }

char* strncpy_e(char* dst, const char* src, size_t size) {
  const size_t len = strlen(src);
  AssertAt(len < size, kSource, 145);
  return CopyTerminated(dst, src, len);
}

wchar_t* tstrncpy_e(wchar_t* dst, const wchar_t* src, size_t size) {
  const size_t len = ::wcslen(src);
  AssertAt(len < size, kSource, 161);
  return CopyTerminated(dst, src, len);
}

char* strcpy_m(char* dst, const char* src, size_t n) {
  dst[n] = 0;
  memmove(dst, src, n);
  return dst;
}

void str_replace(char* s, char from, char to) { ReplaceAll(s, from, to); }

void wstr_replace(wchar_t* s, wchar_t from, wchar_t to) { ReplaceAll(s, from, to); }

char* my_strtok(char* s, char ch) { return CutAt(s, ch); }

wchar_t* my_wstrtok(wchar_t* s, wchar_t ch) { return CutAt(s, ch); }

wchar_t* my_strtok2(wchar_t* s, wchar_t ch) { return FindOrEnd(s, ch); }

char* strsep(char** p, char sep) { return NextToken(p, sep); }

wchar_t* strsep(wchar_t** p, wchar_t sep) { return NextToken(p, sep); }

char* iter_lines(char* s) { return NextLine(s); }

wchar_t* iter_lines(wchar_t* s) { return NextLine(s); }

bool is_ws(char c) { return IsBlank(c); }

const char* skip_ws_left(const char** p) {
  while (is_ws(**p)) {
    ++*p;
  }
  return *p;
}

char* trim(char* s) { return TrimInPlace(s); }

wchar_t* trim(wchar_t* s) { return TrimInPlace(s); }

wchar_t* stripaccelerators(const wchar_t* s) {
  if (s == nullptr) {
    return nullptr;
  }
  StringBufferT text;
  while (const wchar_t* ampersand = ::wcschr(s, L'&')) {
    text.Add(s, static_cast<size_t>(ampersand - s + 1));
    text.Add(L'&');
    s = ampersand + 1;
  }
  text.Add(s);
  return text.StealString();
}

}  // namespace core
