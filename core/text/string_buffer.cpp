#include <stdarg.h>
#include <string.h>

#include "core/format/strfmt.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr size_t kFormatRoom = 8192;

// Stores a terminator after the text without counting it.
template <class C>
C* Terminate(LList<C>& text) {
  text.push_back(0);
  text.SetCount(text.count - 1);
  return text.begin();
}

// Hands the terminated text over and leaves the buffer empty.
template <class C>
C* Steal(LList<C>& text) {
  text.push_back(0);
  size_t count = 0;
  return static_cast<C*>(text.StealArray(&count));
}

}  // namespace

void StringBuffer::Add(char ch) { push_back(ch); }

void StringBuffer::Add(const char* s, size_t n) { Append(s, static_cast<ptrdiff_t>(n)); }

void StringBuffer::Add(const char* s) { Add(s, strlen(s)); }

void StringBuffer::AddFmt(const char* format, ...) {
  char text[kFormatRoom];
  va_list args;
  va_start(args, format);
  const int len = nuvsnprintf(text, sizeof text, format, args);
  va_end(args);
  Append(text, len);
}

char* StringBuffer::StealString() { return Steal(*this); }

char* StringBuffer::AsString() { return Terminate(*this); }

void StringBufferT::Add(wchar_t ch) { push_back(ch); }

void StringBufferT::Add(const wchar_t* s, size_t n) { Append(s, static_cast<ptrdiff_t>(n)); }

void StringBufferT::Add(const wchar_t* s) { Add(s, len_of_str(s)); }

void StringBufferT::AddFmt(const wchar_t* format, ...) {
  size_t len = 0;
  va_list args;
  va_start(args, format);
  const auto text = basic_string<wchar_t>::Adopt(vsprintf_alloc_size_wchar(format, &len, args));
  va_end(args);
  Add(text.c_str(), len);
}

wchar_t* StringBufferT::StealString() { return Steal(*this); }

wchar_t* StringBufferT::AsString() { return Terminate(*this); }

}  // namespace core
