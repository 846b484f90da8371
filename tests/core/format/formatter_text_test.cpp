// The directives for strings, characters, memory, URL-encoding and hashes.
#include <ctype.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wchar.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/containers/templates.h"
#include "core/format/strfmt.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/formatted.h"
#include "tests/support/page_end.h"
#include "tests/support/stack_limit.h"

namespace {

const unsigned char kHash[20] = {0x00, 0x01, 0x02, 0x03, 0xde, 0xad, 0xbe, 0xef, 0x00, 0x00,
                                 0x00, 0x00, 0x7f, 0xff, 0xff, 0xff, 0x0a, 0x0b, 0x0c, 0xff};

const char* PointerOf(uintptr_t value) { return reinterpret_cast<const char*>(value); }

// Exactly these units, without a terminator.
std::vector<wchar_t> ExactUnits(std::wstring_view text) { return {text.begin(), text.end()}; }

TEST(FormatterText, StringIsPaddedToTheWidth) {
  EXPECT_EQ("   ab|", Both("%5s|", "ab"));
  EXPECT_EQ("ab   |", Both("%-5s|", "ab"));
  EXPECT_EQ("abcde|", Both("%5s|", "abcde"));
  EXPECT_EQ("abcdef|", Both("%5s|", "abcdef"));
  EXPECT_EQ("   ab|", Both("%5S|", L"ab"));
  EXPECT_EQ("ab   |", Both("%-5S|", L"ab"));
}

TEST(FormatterText, ZeroFlagPadsStringsWithSpaces) { EXPECT_EQ("   ab|", Both("%05s|", "ab")); }

TEST(FormatterText, EmptyStringIsNeverPadded) {
  EXPECT_EQ("|", Both("%5s|", ""));
  EXPECT_EQ("|", Both("%-5s|", ""));
  EXPECT_EQ("|", Both("%5.0s|", "abc"));
  EXPECT_EQ("|", Both("%5S|", L""));
  EXPECT_EQ("|", Both("%5.0m|", "abc"));
}

TEST(FormatterText, PrecisionCutsStrings) {
  EXPECT_EQ("abc|abcd|abcd|", Both("%.3s|%.4s|%.5s|", "abcd", "abcd", "abcd"));
  EXPECT_EQ("  abc|", Both("%5.3S|", L"abcdef"));
}

TEST(FormatterText, NothingIsReadBehindThePrecision) {
  PageEndBytes bytes("abcd");
  const std::wstring_view letters = L"wxyz";
  PageEndBytes units({reinterpret_cast<const char*>(letters.data()), letters.size() * sizeof(wchar_t)});
  EXPECT_EQ("abcd", Both("%.4s", bytes.begin()));
  EXPECT_EQ("wxyz", Both("%.4S", units.begin()));
  EXPECT_EQ("abc", Both("%.*s", 3, bytes.begin()));
  EXPECT_EQ("|", Both("%.0s|", bytes.end()));
}

TEST(FormatterText, NothingIsReadBehindTheRoom) {
  const ExactBytes bytes("abcd");
  const std::vector<wchar_t> units = ExactUnits(L"wxyz");
  char buf[6];
  EXPECT_EQ(5, core::nusnprintf(buf, sizeof buf, "1%s%s", bytes.chars(), bytes.chars()));
  EXPECT_STREQ("1abcd", buf);
  EXPECT_EQ(5, core::nusnprintf(buf, sizeof buf, "1%S%S", units.data(), units.data()));
  EXPECT_STREQ("1wxyz", buf);
  EXPECT_EQ(5, core::nusnprintf(buf, sizeof buf, "1%m%U", bytes.chars(), bytes.chars()));
  EXPECT_STREQ("1abcd", buf);
}

TEST(FormatterText, NullStringsShowAsText) {
  EXPECT_EQ("<NULL>", Both("%s", nullptr));
  EXPECT_EQ("<NULL>", Both("%S", nullptr));
  EXPECT_EQ("  <NULL>|", Both("%8s|", nullptr));
  EXPECT_EQ("<NU|", Both("%.3S|", nullptr));
}

TEST(FormatterText, PointersBelow65536ShowAsError) {
  for (uintptr_t value : {uintptr_t{1}, uintptr_t{4096}, uintptr_t{65535}}) {
    SCOPED_TRACE(value);
    EXPECT_EQ("<ERROR>", Both("%s", PointerOf(value)));
    EXPECT_EQ("<ERROR>", Both("%S", PointerOf(value)));
  }
  EXPECT_EQ("<ER|", Both("%.3s|", PointerOf(1)));
}

TEST(FormatterText, PointersFrom65536AreRead) {
  void* const lowest = reinterpret_cast<void*>(uintptr_t{65536});
  constexpr size_t kPage = 65536;
  void* const page = mmap(lowest, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, page);
  if (page != lowest) {
    munmap(page, kPage);
    GTEST_SKIP() << "this platform does not hand out the page at 65536";
  }
  memcpy(page, "ab", 3);
  EXPECT_EQ("ab", Both("%s", page));
  wmemcpy(static_cast<wchar_t*>(page), L"cd", 3);
  EXPECT_EQ("cd", Both("%S", page));
  munmap(page, kPage);
}

TEST(FormatterText, CharacterIsAOneCharacterString) {
  EXPECT_EQ("x", Both("%c", 'x'));
  EXPECT_EQ("    x|", Both("%5c|", 'x'));
  EXPECT_EQ("x    |", Both("%-5c|", 'x'));
  EXPECT_EQ("x", Both("%.0c", 'x'));
  EXPECT_EQ(std::string(1, '\0'), Both("%c", 0));
}

TEST(FormatterText, CharacterHasTheFormatsOwnWidth) {
  EXPECT_EQ("\xE9", Narrow("%c", 0x4EE9));
  EXPECT_EQ(L"\u4EE9", Wide(L"%c", L'\u4EE9'));
}

TEST(FormatterText, TextGoesThroughTheSinkOfItsOwnWidth) {
  const auto record = [](Recorder& out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    core::fd_formatter(out, format, args);
    va_end(args);
  };
  const auto record_wide = [](Recorder& out, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    core::fd_formatter_wchar(out, format, args);
    va_end(args);
  };
  Recorder narrow(100);
  record(narrow, "a%s%S%m%d", "b", L"\u4E2D", "d", 5);
  ASSERT_EQ(5U, narrow.runs.size());
  EXPECT_EQ(L"ab\u4E2Dd5", narrow.Text());
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(i == 2, narrow.runs[i].wide) << i;
  }
  Recorder wide(100);
  record_wide(wide, L"a%s%S%m%d", L"\u4E2D", "c", "d", 5);
  ASSERT_EQ(5U, wide.runs.size());
  EXPECT_EQ(L"a\u4E2Dcd5", wide.Text());
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(i < 2, wide.runs[i].wide) << i;
  }
}

TEST(FormatterText, SinksAreCalledOncePerRun) {
  const auto runs = [](const char* format, ...) {
    Recorder out(1000);
    va_list args;
    va_start(args, format);
    core::fd_formatter(out, format, args);
    va_end(args);
    return out.runs.size();
  };
  EXPECT_EQ(1U, runs("a long literal text"));
  EXPECT_EQ(1U, runs("%s", "a long string"));
  EXPECT_EQ(2U, runs("%40s", "a long string"));
  EXPECT_EQ(1U, runs("%Lu", UINT64_MAX));
  EXPECT_EQ(1U, runs("%+#:.30d", 123456));
  EXPECT_EQ(1U, runs("%U", "a b/c~"));
  EXPECT_EQ(5U, runs("%h", kHash));
  EXPECT_EQ(3U, runs("%Z", uint64_t{1536}));
  EXPECT_EQ(0U, runs(""));
}

TEST(FormatterMemory, PrecisionIsTheByteCount) {
  const ExactBytes bytes(std::string_view("a\0b\xFF", 4));
  EXPECT_EQ(std::string("a\0b\xFF", 4), Both("%.4m", bytes.chars()));
  EXPECT_EQ(std::string("a\0", 2), Both("%.2m", bytes.chars()));
}

TEST(FormatterMemory, WithoutPrecisionTheTextEndsAtItsTerminator) {
  EXPECT_EQ("abc", Both("%m", "abc"));
  EXPECT_EQ("", Both("%m", ""));
}

TEST(FormatterMemory, IsPaddedLikeAString) {
  EXPECT_EQ("  abc|", Both("%5.3m|", "abcdef"));
  EXPECT_EQ("abc  |", Both("%-5.3m|", "abcdef"));
}

TEST(FormatterUrl, PlainBytesStayAndOthersAreEscaped) {
  EXPECT_EQ("a%20b%2fc~", Both("%U", "a b/c~"));
  for (int c = 1; c < 256; ++c) {
    const char text[] = {static_cast<char>(c), 0};
    const bool plain = c < 128 && (isalnum(c) != 0 || strchr("-_.~", c) != nullptr);
    char escaped[8];
    snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned>(c));
    EXPECT_EQ(plain ? text : escaped, Both("%U", text)) << c;
  }
}

TEST(FormatterUrl, PrecisionIsTheByteCount) {
  const ExactBytes bytes(std::string_view("\0ab\xFF", 4));
  EXPECT_EQ("%00ab%ff", Both("%.4U", bytes.chars()));
  EXPECT_EQ("%00a", Both("%.2U", bytes.chars()));
  EXPECT_EQ("", Both("%.0U", bytes.chars()));
}

TEST(FormatterUrl, WidthAndFlagsAreIgnored) { EXPECT_EQ("%2f|", Both("%-010U|", "/")); }

TEST(FormatterUrl, NullIsEncodedAsItsText) {
  EXPECT_EQ("%3cNULL%3e", Both("%U", nullptr));
  EXPECT_EQ("%3cNU", Both("%.3U", nullptr));
  EXPECT_EQ("%3cNULL%3e", Both("%.4000U", nullptr));
}

TEST(FormatterUrl, LongTextsAreEncodedWhole) {
  for (size_t n : {84U, 85U, 86U, 170U, 171U, 256U, 257U, 1000U}) {
    SCOPED_TRACE(n);
    std::string expected;
    for (size_t i = 0; i < n; ++i) {
      expected += i % 5 == 0 ? "a" : "%2f";
    }
    std::string text;
    for (size_t i = 0; i < n; ++i) {
      text += i % 5 == 0 ? 'a' : '/';
    }
    EXPECT_EQ(expected, Both("%U", text.c_str()));
  }
}

TEST(FormatterUrl, EscapesAreCutAtTheRoom) {
  char buf[6];
  EXPECT_EQ(5, core::nusnprintf(buf, sizeof buf, "%U", "a//b"));
  EXPECT_STREQ("a%2f%", buf);
}

TEST(FormatterUrl, EncodedTextMustStayBelowHalfTheStack) {
  const size_t half = core::GetMaxStackSize() / 2;
  const size_t most = (half - 1) / 3;
  const std::string text(most + 1, '/');
  Counter out(UINT64_MAX);
  core::fmt_urlencoded(out, text.data(), most);
  EXPECT_EQ(3 * most, out.received);
  EXPECT_FATAL(core::fmt_urlencoded(out, text.data(), most + 1), "core/strfmt", 431);
}

TEST(FormatterUrl, LengthsThatNoMemoryHasAreTooLong) {
  Counter out(UINT64_MAX);
  for (size_t len : {core::GetMaxStackSize(), SIZE_MAX / 3 + 2, SIZE_MAX}) {  // three times the second is 1
    EXPECT_FATAL(core::fmt_urlencoded(out, "", len), "core/strfmt", 431);
  }
}

TEST(FormatterUrl, EncodedTextOfExactlyHalfTheStackIsTooLong) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";  // the limit is read once in a process
  const std::string text(100000, '/');
  Counter out(UINT64_MAX);
  const auto encode = [&](size_t len) {
    LimitStack(600000);
    core::fmt_urlencoded(out, text.data(), len);
    _exit(0);
  };
  EXPECT_EXIT(encode(99999), testing::ExitedWithCode(0), "");
  EXPECT_FATAL(encode(100000), "core/strfmt", 431);
}

TEST(FormatterUrl, LengthIsClippedToTheRoomBeforeItIsJudged) {
  const size_t most = (core::GetMaxStackSize() / 2 - 1) / 3;
  const std::string text(most + 1, 'a');
  Counter out(most);
  core::fmt_urlencoded(out, text.data(), text.size());
  EXPECT_EQ(most, out.received);
}

TEST(FormatterHash, FiveWordsInHex) {
  const ExactBytes hash(kHash, sizeof kHash);
  EXPECT_EQ("00010203deadbeef000000007fffffff0a0b0cff", Both("%h", hash.chars()));
  EXPECT_EQ("00010203DEADBEEF000000007FFFFFFF0A0B0CFF", Both("%H", hash.chars()));
}

TEST(FormatterHash, WidthAndPrecisionAreIgnored) {
  EXPECT_EQ("00010203deadbeef000000007fffffff0a0b0cff|", Both("%60.2h|", kHash));
}

TEST(FormatterHash, FlagsApplyToEachWord) {
  EXPECT_EQ("0x000102030xdeadbeef0x000000000x7fffffff0x0a0b0cff", Both("%#h", kHash));
  EXPECT_EQ("0.000102030.DEADBEEF0.000000000.7FFFFFFF0.0A0B0CFF", Both("%:H", kHash));
}

}  // namespace
