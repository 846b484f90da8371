#include <string.h>
#include <strings.h>
#include <wchar.h>

#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

// The last position in `s` at which the text equals `sub`, from the last one where it fits.
template <class C>
const C* FindLast(const C* s, const C* sub) {
  const size_t len = len_of_str(s);
  const size_t sub_len = len_of_str(sub);
  if (sub_len > len) {
    return nullptr;
  }
  for (const C* at = s + (len - sub_len);; at--) {
    if (memcmp(at, sub, sub_len * sizeof(C)) == 0) {
      return at;
    }
    if (at == s) {
      return nullptr;
    }
  }
}

// The start of the alternative after the one that `pattern` points into; null after the last.
const wchar_t* NextAlternative(const wchar_t* pattern) {
  const wchar_t* bar = ::wcschr(pattern, L'|');
  return bar == nullptr ? nullptr : bar + 1;
}

bool EndsAlternative(wchar_t c) { return c == 0 || c == L'|'; }

// True when the one unit at `pattern`, not a star, stands for the unit at `text`, not a terminator.
bool MatchesUnit(wchar_t pattern, wchar_t text) {
  return !EndsAlternative(pattern) && (pattern == L'?' || FoldAscii(pattern) == FoldAscii(text));
}

}  // namespace

const char* stristr(const char* s, const char* sub) {
  const size_t len = strlen(sub);
  for (; *s != 0; s++) {
    if (::strncasecmp(s, sub, len) == 0) {
      return s;
    }
  }
  return nullptr;
}

const wchar_t* tstristr(const wchar_t* s, const wchar_t* sub) {
  for (; *s != 0; s++) {
    if (tstribegins(s, sub)) {
      return s;
    }
  }
  return nullptr;
}

const wchar_t* tstritstr(const wchar_t* s, const wchar_t* sub) {
  const size_t len = len_of_str(sub);
  for (; *s != 0; s++) {
    if (core::wcsncasecmp(s, sub, len) == 0) {
      return s;
    }
  }
  return nullptr;
}

const char* strnstr(const char* s, const char* sub, size_t n) {
  const size_t sub_len = strlen(sub);
  for (size_t left = ::strnlen(s, n); left >= sub_len; left--, s++) {
    if (memcmp(s, sub, sub_len) == 0) {
      return s;
    }
  }
  return nullptr;
}

const char* strrstr(const char* s, const char* sub) { return FindLast(s, sub); }

const wchar_t* tstrrstr(const wchar_t* s, const wchar_t* sub) { return FindLast(s, sub); }

bool IsWildcardMatch(const wchar_t* pattern, const wchar_t* text) {
  const wchar_t* at = text;
  const wchar_t* after_star = nullptr;   // what follows the most recent star of this alternative
  const wchar_t* after_taken = nullptr;  // the text that this star has not taken
  while (pattern != nullptr) {
    if (*pattern == L'*') {
      after_star = ++pattern;
      after_taken = at;
    } else if (*at == 0 && EndsAlternative(*pattern)) {
      return true;
    } else if (*at != 0 && MatchesUnit(*pattern, *at)) {
      pattern++;
      at++;
    } else if (*at != 0 && after_star != nullptr) {
      pattern = after_star;
      at = ++after_taken;
    } else {
      // At the end of the text another try would have less text for the same pattern.
      pattern = NextAlternative(pattern);
      at = text;
      after_star = nullptr;
    }
  }
  return false;
}

}  // namespace core
