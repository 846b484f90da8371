#include <errno.h>
#include <string.h>
#include <wchar.h>

#include "core/base/fatal.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr char kSource[] = "core/string";
constexpr size_t kFailed = static_cast<size_t>(-1);
constexpr wchar_t kMicroSign = 181;
constexpr int kMaxTries = 3;

// wcsrtombs from a fresh state; a null `dst` only measures. kFailed when `s` cannot be converted.
size_t Narrow(const wchar_t* s, char* dst, size_t size) {
  mbstate_t state;
  memset(&state, 0, sizeof state);
  return ::wcsrtombs(dst, &s, size, &state);
}

// Returns a copy of `s` with the units that a legacy encoding may lack replaced.
basic_string<wchar_t> Simplified(const wchar_t* s) {
  const size_t len = len_of_str(s);
  wchar_t* copy = AllocString<wchar_t>(len);
  for (size_t i = 0; i < len; i++) {
    copy[i] = static_cast<signed char>(to_ansi_char(s[i]));
  }
  copy[len] = 0;
  return basic_string<wchar_t>::Adopt(copy);
}

// Returns a new string with `s` in the locale's encoding; null, and the reason in errno, when it cannot be
// converted. A locale that changes between the two conversions is no fault of the text: it is measured anew.
char* NarrowNew(const wchar_t* s) {
  for (int tries = 1;; ++tries) {
    errno = 0;
    const size_t len = Narrow(s, nullptr, 0);
    if (len == kFailed) {
      return nullptr;
    }
    // Some C libraries look at no more units than there is room for bytes, and stop the process when those that
    // they look at have none, as characters of language tags. With room for a byte each they see the end.
    const size_t units = wcslen(s);
    const size_t room = len > units ? len : units;
    char* text = AllocString<char>(room);
    if (Narrow(s, text, room + 1) == len) {
      text[len] = 0;
      return text;
    }
    MyFree(text);
    AssertAt(tries < kMaxTries, kSource, 477);
  }
}

char* NarrowSimplified(const wchar_t* s) {
  const basic_string<wchar_t> copy = Simplified(s);
  return NarrowNew(copy.c_str());
}

}  // namespace

wchar_t* to_unicode_alloc(const char* s) {
  if (s == nullptr) {
    return nullptr;
  }
  const size_t len = strlen(s);
  wchar_t* text = AllocString<wchar_t>(len);
  mbstate_t state;
  memset(&state, 0, sizeof state);
  const size_t units = ::mbsrtowcs(text, &s, len + 1, &state);
  text[units == kFailed ? 0 : units < len ? units : len] = 0;
  return text;
}

wchar_t* to_unicode_alloc(const wchar_t* s) { return wstrdup(s); }

char* to_ansi_alloc(const char* s) { return nustrdup(s); }

char* to_ansi_alloc(const wchar_t* s) {
  if (s == nullptr) {
    return nullptr;
  }
  char* text = NarrowNew(s);
  return text == nullptr && errno == EILSEQ ? NarrowSimplified(s) : text;
}

const char* to_ansi(const char* s) { return s; }

char to_ansi_char(wchar_t c) {
  if (c < 127) {
    return static_cast<char>(static_cast<signed char>(c));
  }
  return c == kMicroSign ? 'u' : '?';
}

}  // namespace core
