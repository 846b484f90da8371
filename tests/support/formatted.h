// The formatter without its front-ends: sinks that keep, or only count, what the engine sends.
#pragma once

#include <gtest/gtest.h>
#include <stdarg.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/format/strfmt.h"

// Keeps every call of the two sinks. Narrow text is held zero-extended.
struct Recorder : core::FormatterOutputCallbackData {
  struct Run {
    bool wide;
    std::wstring text;
  };
  std::vector<Run> runs;

  explicit Recorder(uint64_t most) : FormatterOutputCallbackData{Out, OutW, 0, most} {}

  static void Out(FormatterOutputCallbackData& data, const char* text, size_t n) {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    static_cast<Recorder&>(data).runs.push_back({false, std::wstring(bytes, bytes + n)});
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* text, size_t n) {
    static_cast<Recorder&>(data).runs.push_back({true, std::wstring(text, n)});
  }

  std::wstring Text() const {
    std::wstring all;
    for (const Run& run : runs) {
      all += run.text;
    }
    return all;
  }
  // The text with the low 8 bits of each character.
  std::string Bytes() const {
    std::string all;
    for (wchar_t c : Text()) {
      all += static_cast<char>(c);
    }
    return all;
  }
};

// Keeps nothing, for texts of any length.
struct Counter : core::FormatterOutputCallbackData {
  uint64_t received = 0;

  explicit Counter(uint64_t most) : FormatterOutputCallbackData{Out, OutW, 0, most} {}

  static void Out(FormatterOutputCallbackData& data, const char* /*text*/, size_t n) {
    static_cast<Counter&>(data).received += n;
  }
  static void OutW(FormatterOutputCallbackData& data, const wchar_t* /*text*/, size_t n) {
    static_cast<Counter&>(data).received += n;
  }
};

constexpr uint64_t kTestLimit = 5000;

inline std::string FormattedV(const char* format, va_list args) {
  Recorder out(kTestLimit);
  core::fd_formatter(out, format, args);
  EXPECT_EQ(out.written, out.Text().size());
  return out.Bytes();
}

inline std::wstring FormattedV(const wchar_t* format, va_list args) {
  Recorder out(kTestLimit);
  core::fd_formatter_wchar(out, format, args);
  EXPECT_EQ(out.written, out.Text().size());
  return out.Text();
}

inline std::string Narrow(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = FormattedV(format, args);
  va_end(args);
  return text;
}

inline std::wstring Wide(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = FormattedV(format, args);
  va_end(args);
  return text;
}

// The wide format that takes the same arguments: "s" and "S" name the other width there.
inline std::wstring WideFormatOf(std::string_view format) {
  std::wstring wide;
  for (char c : format) {
    const char letter = c == 's' ? 'S' : c == 'S' ? 's' : c;
    wide += static_cast<wchar_t>(static_cast<unsigned char>(letter));
  }
  return wide;
}

// Formats in both widths, which must agree, and returns the narrow text. Literal text in `format` must
// not contain "s" or "S".
inline std::string Both(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string narrow = FormattedV(format, args);
  va_end(args);
  va_start(args, format);
  const std::wstring wide = FormattedV(WideFormatOf(format).c_str(), args);
  va_end(args);
  std::string wide_bytes;
  for (wchar_t c : wide) {
    wide_bytes += static_cast<char>(c);
  }
  EXPECT_EQ(narrow, wide_bytes) << "narrow against wide";
  return narrow;
}
