// The functions that format into buffers and new strings, and their sinks.
#include <stdio.h>

#include <string>
#include <thread>
#include <vector>

#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "tests/support/formatted.h"
#include "tests/support/guarded_buffer.h"

namespace {

std::string Take(char* text) {
  std::string copy = text;
  core::MyFree(text);
  return copy;
}

std::wstring Take(wchar_t* text) {
  std::wstring copy = text;
  core::MyFree(text);
  return copy;
}

std::string WithLength(size_t* length, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = Take(core::vsprintf_alloc_size(format, length, args));
  va_end(args);
  return text;
}

std::wstring WithLength(size_t* length, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = Take(core::vsprintf_alloc_size_wchar(format, length, args));
  va_end(args);
  return text;
}

TEST(FormatterBuffer, OutputIsCutAndTerminated) {
  GuardedBuffer<char> b(4);
  EXPECT_EQ(3, core::nusnprintf(b.buf(), b.size(), "abcdef"));
  EXPECT_STREQ("abc", b.buf());
  EXPECT_TRUE(b.GuardsHold());
  GuardedBuffer<wchar_t> w(4);
  EXPECT_EQ(3, core::nuwsnprintf(w.buf(), w.size(), L"abcdef"));
  EXPECT_EQ(std::wstring(L"abc"), w.buf());
  EXPECT_TRUE(w.GuardsHold());
}

TEST(FormatterBuffer, ReturnsWhatWasStored) {
  char buf[8];
  EXPECT_EQ(6, core::nusnprintf(buf, sizeof buf, "%s", "abcdef"));
  EXPECT_EQ(7, core::nusnprintf(buf, sizeof buf, "%s", "abcdefg"));
  EXPECT_EQ(7, core::nusnprintf(buf, sizeof buf, "%s", "abcdefgh"));
  EXPECT_STREQ("abcdefg", buf);
  EXPECT_EQ(0, core::nusnprintf(buf, sizeof buf, ""));
  EXPECT_STREQ("", buf);
}

TEST(FormatterBuffer, SizeOneHoldsOnlyTheTerminator) {
  GuardedBuffer<char> b(1);
  EXPECT_EQ(0, core::nusnprintf(b.buf(), b.size(), "%d", 5));
  EXPECT_STREQ("", b.buf());
  EXPECT_TRUE(b.GuardsHold());
}

TEST(FormatterBuffer, SizeZeroWritesNothing) {
  GuardedBuffer<char> b(0);
  EXPECT_EQ(0, core::nusnprintf(b.buf(), 0, "%d", 5));
  EXPECT_TRUE(b.GuardsHold());
  GuardedBuffer<wchar_t> w(0);
  EXPECT_EQ(0, core::nuwsnprintf(w.buf(), 0, L"%d", 5));
  EXPECT_TRUE(w.GuardsHold());
  EXPECT_EQ(0, core::nusnprintf(nullptr, 0, "%d", 5));
}

TEST(FormatterBuffer, WideTextKeepsItsLowBytes) {
  char buf[16];
  EXPECT_EQ(4, core::nusnprintf(buf, sizeof buf, "%S", L"\u00E9\u4E2D\u0141z"));
  EXPECT_STREQ("\xE9\x2D\x41z", buf);
}

TEST(FormatterBuffer, NarrowTextIsZeroExtended) {
  wchar_t buf[16];
  EXPECT_EQ(3, core::nuwsnprintf(buf, 16, L"%S", "\x7F\x80\xFF"));
  EXPECT_EQ(std::wstring(L"\x7F\x80\xFF"), buf);
  EXPECT_EQ(1, core::nuwsnprintf(buf, 16, L"%S", "\xE9"));
  EXPECT_EQ(std::wstring(L"\u00E9"), buf);
}

TEST(FormatterBuffer, ArgumentListFormsMatchTheVariadicOnes) {
  const auto narrow = [](const char* format, ...) {
    char buf[8];
    va_list args;
    va_start(args, format);
    EXPECT_EQ(7, core::nuvsnprintf(buf, sizeof buf, format, args));
    va_end(args);
    return std::string(buf);
  };
  const auto wide = [](const wchar_t* format, ...) {
    wchar_t buf[8];
    va_list args;
    va_start(args, format);
    EXPECT_EQ(7, core::nuwvsnprintf(buf, 8, format, args));
    va_end(args);
    return std::wstring(buf);
  };
  EXPECT_EQ("12345ab", narrow("%d%s", 12345, "abcdef"));
  EXPECT_EQ(L"12345ab", wide(L"%d%s", 12345, L"abcdef"));
}

TEST(FormatterAlloc, ReturnsANewString) {
  EXPECT_EQ("1.5 kB", Take(core::str_fmt("%Z", uint64_t{1536})));
  EXPECT_EQ(L"1.5 kB", Take(core::wstr_fmt(L"%Z", uint64_t{1536})));
}

TEST(FormatterAlloc, EmptyResultIsATerminatedString) {
  EXPECT_EQ("", Take(core::str_fmt("")));
  EXPECT_EQ(L"", Take(core::wstr_fmt(L"%s", L"")));
}

TEST(FormatterAlloc, WideTextKeepsItsLowBytes) {
  EXPECT_EQ("\xE9\x2D\x41z", Take(core::str_fmt("%S", L"\u00E9\u4E2D\u0141z")));
}

TEST(FormatterAlloc, NarrowTextIsSignExtended) {
  const std::wstring text = Take(core::wstr_fmt(L"%S", "\x7F\x80\xE9\xFF"));
  ASSERT_EQ(4U, text.size());
  EXPECT_EQ(0x7FU, static_cast<uint32_t>(text[0]));
  EXPECT_EQ(0xFFFFFF80U, static_cast<uint32_t>(text[1]));
  EXPECT_EQ(0xFFFFFFE9U, static_cast<uint32_t>(text[2]));
  EXPECT_EQ(0xFFFFFFFFU, static_cast<uint32_t>(text[3]));
}

TEST(FormatterAlloc, BufferGrowsWithManyPieces) {
  for (size_t n : {14U, 15U, 16U, 17U, 31U, 32U, 33U, 1000U}) {
    const std::string text(n, 'x');
    const std::wstring wtext(n, L'x');
    EXPECT_EQ(text + "-5 " + text, Take(core::str_fmt("%s%d %S", text.c_str(), -5, wtext.c_str())));
    EXPECT_EQ(wtext + L"-5 " + wtext, Take(core::wstr_fmt(L"%s%d %S", wtext.c_str(), -5, text.c_str())));
  }
}

TEST(FormatterAlloc, LengthCountsZeroCharactersToo) {
  size_t length = 99;
  WithLength(&length, "a%cb%d", 0, 12);
  EXPECT_EQ(5U, length);
  WithLength(&length, L"a%cb%d", 0, 12);
  EXPECT_EQ(5U, length);
  WithLength(&length, "");
  EXPECT_EQ(0U, length);
}

TEST(FormatterAlloc, LengthMayBeNull) {
  EXPECT_EQ("7", WithLength(nullptr, "%d", 7));
  EXPECT_EQ(L"7", WithLength(nullptr, L"%d", 7));
}

TEST(FormatterAlloc, ArgumentListFormsMatchTheVariadicOnes) {
  const auto narrow = [](const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text = Take(core::vsprintf_alloc(format, args));
    va_end(args);
    return text;
  };
  const auto wide = [](const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring text = Take(core::vsprintf_alloc_wchar(format, args));
    va_end(args);
    return text;
  };
  EXPECT_EQ("12345abc", narrow("%d%s", 12345, "abc"));
  EXPECT_EQ(L"12345abc", wide(L"%d%s", 12345, L"abc"));
}

TEST(FormatterAlloc, TextBeyondTheLimitIsCut) {
  constexpr size_t kLimit = 1048576;
  for (size_t n : {kLimit - 2, kLimit - 1, kLimit, 2 * kLimit}) {
    SCOPED_TRACE(n);
    const std::string text(n, 'x');
    const std::string expected = (text + "7").substr(0, kLimit);
    size_t length = 0;
    EXPECT_TRUE(expected == WithLength(&length, "%s%d", text.c_str(), 7));
    EXPECT_EQ(expected.size(), length);
    const std::wstring wexpected(expected.begin(), expected.end());
    EXPECT_TRUE(wexpected == WithLength(&length, L"%S%d", text.c_str(), 7));
    EXPECT_EQ(expected.size(), length);
  }
}

TEST(FormatterPrint, PrintsNothing) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, core::nuprintf("text %d\n", 5));
  EXPECT_EQ(0, core::nuwprintf(L"text %d\n", 5));
  fflush(stdout);
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(FormatterThreads, FormatAtTheSameTime) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4);
  for (size_t t = 0; t < failures.size(); ++t) {
    threads.emplace_back([t, &failures] {
      for (int i = 0; i < 2000; ++i) {
        const std::string expected = std::to_string(t) + ":" + std::to_string(i) + " 1.5 kB";
        failures[t] += expected != Take(core::str_fmt("%d:%d %Z", static_cast<int>(t), i, uint64_t{1536})) ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::vector<int>(4), failures);
}

}  // namespace
