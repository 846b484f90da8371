#include <stdarg.h>

#include "core/base/fatal.h"
#include "core/format/strfmt.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr char kSource[] = "core/templates";
constexpr char kHexDigits[] = "0123456789abcdef";

}  // namespace

basic_string<char> to_hex(const void* bytes, ptrdiff_t len) {
  AssertAt(len >= 0, kSource, 1008);
  const size_t digits = 2 * static_cast<size_t>(len);
  char* text = AllocString<char>(digits);
  const unsigned char* byte = static_cast<const unsigned char*>(bytes);
  for (size_t i = 0; i < digits; i += 2, byte++) {
    text[i] = kHexDigits[*byte >> 4];
    text[i + 1] = kHexDigits[*byte & 15];
  }
  text[digits] = 0;
  return basic_string<char>::Adopt(text);
}

basic_string<char> string_fmt(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char* text = vsprintf_alloc(format, args);
  va_end(args);
  return basic_string<char>::Adopt(text);
}

basic_string<wchar_t> tstring_fmt(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  wchar_t* text = vsprintf_alloc_wchar(format, args);
  va_end(args);
  return basic_string<wchar_t>::Adopt(text);
}

basic_string<wchar_t> to_tstring(const basic_string<char>& s) {
  return basic_string<wchar_t>::Adopt(to_unicode_alloc(s.c_str()));
}

basic_string<char> to_string(const basic_string<wchar_t>& s) {
  return basic_string<char>::Adopt(to_ansi_alloc(s.c_str()));
}

basic_string<char> tstr_to_string(const wchar_t* s) { return basic_string<char>::Adopt(to_ansi_alloc(s)); }

}  // namespace core
