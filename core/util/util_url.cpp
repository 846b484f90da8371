#include "core/util/util_url.h"

#include <string.h>

#include "core/format/strfmt.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr const char* kOkPrefixes[] = {"http://", "https://", "magnet:?"};

char PlusToSpace(char c) { return c == '+' ? ' ' : c; }

// What a character of an escape counts, from -176 to 40. The platform decides the sign of a char, so
// it is made signed here.
int EscapeDigit(char ch) {
  const int byte = static_cast<unsigned char>(ch);
  const int c = byte < 128 ? byte : byte - 256;
  return c <= '9' ? c - '0' : (c & ~0x20) - 55;
}

}  // namespace

const char* IsOkUrl(const char* url) {
  if (url == nullptr) {
    return nullptr;
  }
  for (const char* prefix : kOkPrefixes) {
    if (stribegins(url, prefix)) {
      return url;
    }
  }
  return nullptr;
}

bool IsUdpUrl(const wchar_t* url) { return url != nullptr && tstribegins(url, L"udp://"); }

size_t urldecode(char* s) {
  char* src = s;
  for (; *src != 0 && *src != '%'; ++src) {
    *src = PlusToSpace(*src);
  }
  char* dst = src;
  while (*src != 0) {
    if (*src == '%' && src[1] != 0 && src[2] != 0) {
      *dst++ = static_cast<char>(static_cast<unsigned char>(16 * EscapeDigit(src[1]) + EscapeDigit(src[2])));
      src += 3;
    } else {
      *dst++ = PlusToSpace(*src++);
    }
  }
  *dst = 0;
  return static_cast<size_t>(dst - s);
}

char* urlencode_spaces(const char* s, size_t* len) {
  size_t units = 0;
  for (const char* p = s; *p != 0; ++p) {
    units += *p == ' ' ? 3 : 1;
  }
  char* encoded = AllocString<char>(units);
  char* dst = encoded;
  for (; *s != 0; ++s) {
    if (*s == ' ') {
      dst = strcpy_e(dst, "%20");
    } else {
      *dst++ = *s;
    }
  }
  *dst = 0;
  if (len != nullptr) {
    *len = units;
  }
  return encoded;
}

char* url_split(const char** s) {
  if (s == nullptr || *s == nullptr || **s == 0) {
    return nullptr;
  }
  const char* const text = *s;
  const size_t len = strcspn(text, "/");
  const char* const rest = text + len;
  *s = *rest == 0 ? nullptr : rest + strspn(rest, "/");
  return str_temp_ansi(strduplen(text, len));
}

}  // namespace core
