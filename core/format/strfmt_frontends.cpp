// The sinks and the functions that format into buffers and new strings.
#include <string.h>
#include <wchar.h>

#include "core/format/strfmt.h"
#include "core/text/string.h"

namespace core {

namespace {

// A narrow sink keeps the low 8 bits of each wide character.
void Narrow(char* dst, const wchar_t* text, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    dst[i] = static_cast<char>(text[i]);
  }
}

// Into a caller's narrow buffer, at the write pointer.
struct StringOutput : FormatterOutputCallbackData {
  char* at;

  static void Out(FormatterOutputCallbackData& data, const char* text, size_t n) {
    StringOutput& self = static_cast<StringOutput&>(data);
    memcpy(self.at, text, n);
    self.at += n;
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* text, size_t n) {
    StringOutput& self = static_cast<StringOutput&>(data);
    Narrow(self.at, text, n);
    self.at += n;
  }
};

// Into a caller's wide buffer.
struct StringOutputW : FormatterOutputCallbackData {
  wchar_t* at;

  // On purpose: zero-extends, where the allocating sink sign-extends.
  static void Out(FormatterOutputCallbackData& data, const char* text, size_t n) {
    StringOutputW& self = static_cast<StringOutputW&>(data);
    for (size_t i = 0; i < n; ++i) {
      self.at[i] = static_cast<unsigned char>(text[i]);
    }
    self.at += n;
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* text, size_t n) {
    StringOutputW& self = static_cast<StringOutputW&>(data);
    wmemcpy(self.at, text, n);
    self.at += n;
  }
};

// Into a growing narrow buffer.
struct StringOutputAlloc : FormatterOutputCallbackData {
  StringBuffer buffer;

  static void Out(FormatterOutputCallbackData& data, const char* text, size_t n) {
    static_cast<StringOutputAlloc&>(data).buffer.Append(text, static_cast<ptrdiff_t>(n));
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* text, size_t n) {
    Narrow(static_cast<StringOutputAlloc&>(data).buffer.Expand(static_cast<ptrdiff_t>(n)), text, n);
  }
};

// Into a growing wide buffer.
struct StringOutputWAlloc : FormatterOutputCallbackData {
  StringBufferT buffer;

  // On purpose: sign-extends, where the fixed-buffer sink zero-extends.
  static void Out(FormatterOutputCallbackData& data, const char* text, size_t n) {
    wchar_t* dst = static_cast<StringOutputWAlloc&>(data).buffer.Expand(static_cast<ptrdiff_t>(n));
    for (size_t i = 0; i < n; ++i) {
      dst[i] = static_cast<signed char>(text[i]);
    }
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* text, size_t n) {
    static_cast<StringOutputWAlloc&>(data).buffer.Append(text, static_cast<ptrdiff_t>(n));
  }
};

}  // namespace

int nuvsnprintf(char* buf, size_t size, const char* format, va_list args) {
  if (size == 0) {
    return 0;
  }
  StringOutput output{{StringOutput::Out, StringOutput::OutW, 0, size - 1}, buf};
  fd_formatter(output, format, args);
  *output.at = 0;
  return static_cast<int>(output.written);
}

int nusnprintf(char* buf, size_t size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = nuvsnprintf(buf, size, format, args);
  va_end(args);
  return written;
}

int nuwvsnprintf(wchar_t* buf, size_t size, const wchar_t* format, va_list args) {
  if (size == 0) {
    return 0;
  }
  StringOutputW output{{StringOutputW::Out, StringOutputW::OutW, 0, size - 1}, buf};
  fd_formatter_wchar(output, format, args);
  *output.at = 0;
  return static_cast<int>(output.written);
}

int nuwsnprintf(wchar_t* buf, size_t size, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = nuwvsnprintf(buf, size, format, args);
  va_end(args);
  return written;
}

char* vsprintf_alloc_size(const char* format, size_t* length, va_list args) {
  StringOutputAlloc output{{StringOutputAlloc::Out, StringOutputAlloc::OutW, 0, kAllocFormatLimit}, {}};
  fd_formatter(output, format, args);
  if (length != nullptr) {
    *length = output.written;
  }
  return output.buffer.StealString();
}

char* vsprintf_alloc(const char* format, va_list args) { return vsprintf_alloc_size(format, nullptr, args); }

char* str_fmt(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char* text = vsprintf_alloc_size(format, nullptr, args);
  va_end(args);
  return text;
}

wchar_t* vsprintf_alloc_size_wchar(const wchar_t* format, size_t* length, va_list args) {
  StringOutputWAlloc output{{StringOutputWAlloc::Out, StringOutputWAlloc::OutW, 0, kAllocFormatLimit}, {}};
  fd_formatter_wchar(output, format, args);
  if (length != nullptr) {
    *length = output.written;
  }
  return output.buffer.StealString();
}

wchar_t* vsprintf_alloc_wchar(const wchar_t* format, va_list args) {
  return vsprintf_alloc_size_wchar(format, nullptr, args);
}

wchar_t* wstr_fmt(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  wchar_t* text = vsprintf_alloc_size_wchar(format, nullptr, args);
  va_end(args);
  return text;
}

int nuprintf(const char* /*format*/, ...) { return 0; }

int nuwprintf(const wchar_t* /*format*/, ...) { return 0; }

}  // namespace core
