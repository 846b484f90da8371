// Text conversion and string helpers at their edges: null, empty, one too short, one past the end.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>
#include <string.h>
#include <wchar.h>

#include <string>
#include <vector>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

using namespace std::literals;

namespace {

constexpr char kNustr[] = "core/nustr";
constexpr char kString[] = "core/string";
constexpr size_t kUntouched = 0x5A5A;

struct Decoded {
  int result;
  std::wstring units;
  bool invalid;
  size_t consumed;
};

Decoded Decode(std::string_view bytes, size_t cap) {
  const ExactBytes in(bytes);
  ExactBytes out(std::string(cap * sizeof(wchar_t), '#'));
  auto* dst = reinterpret_cast<wchar_t*>(out.data());
  Decoded d{0, L"", true, kUntouched};
  d.result = core::DecodeUtf8(in.chars(), in.size(), dst, cap, &d.invalid, &d.consumed);
  if (d.result > 0) {
    d.units.assign(dst, static_cast<size_t>(d.result));
  }
  return d;
}

void ExpectDecodes(std::string_view bytes, const std::wstring& units, bool invalid) {
  SCOPED_TRACE(testing::PrintToString(std::string(bytes)));
  const Decoded d = Decode(bytes, units.size());  // no unit to spare
  EXPECT_EQ(static_cast<int>(units.size()), d.result);
  EXPECT_EQ(units, d.units);
  EXPECT_EQ(invalid, d.invalid);
  EXPECT_EQ(bytes.size(), d.consumed);
}

std::wstring DecodeText(int code_page, std::string_view bytes) {
  const ExactBytes in(bytes);
  size_t n = kUntouched;
  const Owned<wchar_t> text(core::DecodeEncodedString(code_page, in.chars(), in.size(), &n));
  EXPECT_EQ(L'\0', text[n]);
  return std::wstring(text.get(), n);
}

std::string Utf8(const std::wstring& units) {
  const Wide in(units);
  size_t n = kUntouched;
  const Owned<char> text(core::wstr_to_utf8(in.get(), &n));
  EXPECT_EQ('\0', text[n]);
  return std::string(text.get(), n);
}

}  // namespace

TEST(DecodeRules, ValidSequences) {
  ExpectDecodes("", L"", false);
  ExpectDecodes("a\0b"sv, std::wstring(L"a\0b", 3), false);
  ExpectDecodes("\x7F", Units({0x7F}), false);
  ExpectDecodes("\xC2\x80", Units({0x80}), false);
  ExpectDecodes("\xC3\xA9", Units({0xE9}), false);
  ExpectDecodes("\xDF\xBF", Units({0x7FF}), false);
  ExpectDecodes("\xE0\xA0\x80", Units({0x800}), false);
  ExpectDecodes("\xE2\x82\xAC", Units({0x20AC}), false);
  ExpectDecodes("\xED\xA0\xBD", Units({0xD83D}), false);
  ExpectDecodes("\xEF\xBF\xBF", Units({0xFFFF}), false);
}

TEST(DecodeRules, OverlongFormsAreFlaggedAndKept) {
  ExpectDecodes("\xC0\x80", Units({0}), true);
  ExpectDecodes("\xC1\xBF", Units({0x7F}), true);
  ExpectDecodes("\xE0\x80\x80", Units({0}), true);
  ExpectDecodes("\xE0\x9F\xBF", Units({0x7FF}), true);
  ExpectDecodes("\xC0\x80\xC3\xA9z", Units({0, 0xE9, 'z'}), true);
}

TEST(DecodeRules, BrokenSequencesConsumeOnlyTheLead) {
  ExpectDecodes("\xE9", Units({0xFFFFFFE9}), true);
  ExpectDecodes("\x80", Units({0xFFFFFF80}), true);
  ExpectDecodes("\xBF", Units({0xFFFFFFBF}), true);
  ExpectDecodes("\xF8", Units({0xFFFFFFF8}), true);
  ExpectDecodes("\xFF\x80\x80\x80\x80", Units({0xFFFFFFFF, 0xFFFFFF80, 0xFFFFFF80, 0xFFFFFF80, 0xFFFFFF80}), true);
  ExpectDecodes("\xC3", Units({0xFFFFFFC3}), true);
  ExpectDecodes("\xC3(", Units({0xFFFFFFC3, '('}), true);
  ExpectDecodes("\xC3\xC3\xA9", Units({0xFFFFFFC3, 0xE9}), true);
  ExpectDecodes("\xE2\x82", Units({0xFFFFFFE2, 0xFFFFFF82}), true);
  ExpectDecodes("\xE2\x82(", Units({0xFFFFFFE2, 0xFFFFFF82, '('}), true);
  ExpectDecodes("\xE2(\x82", Units({0xFFFFFFE2, '(', 0xFFFFFF82}), true);
  ExpectDecodes("\xF0\x9F\x98", Units({0xFFFFFFF0, 0xFFFFFF9F, 0xFFFFFF98}), true);
  ExpectDecodes("\xF0\x9F\x98z", Units({0xFFFFFFF0, 0xFFFFFF9F, 0xFFFFFF98, 'z'}), true);
  ExpectDecodes("\xF0z\x98\x80", Units({0xFFFFFFF0, 'z', 0xFFFFFF98, 0xFFFFFF80}), true);
}

TEST(DecodeRules, FourByteFormsIgnoreTheSecondByte) {
  ExpectDecodes("\xF0\x9F\x98\x80", Units({0xFBCE, 0xDD00}), false);
  ExpectDecodes("\xF0\x80\x98\x80", Units({0xFBCE, 0xDD00}), false);
  for (unsigned lead = 0xF0; lead <= 0xF7; ++lead) {
    for (unsigned b2 = 0x80; b2 <= 0xBF; ++b2) {
      for (unsigned b3 = 0x80; b3 <= 0xBF; ++b3) {
        const unsigned high = 0xFFFFFF00;
        const unsigned v = ((high | lead) << 18) ^ ((high | b3) << 12) ^ ((high | b2) << 6) ^ (high | b3) ^ 0x3C82080;
        const std::string bytes = {static_cast<char>(lead), '\xA5', static_cast<char>(b2), static_cast<char>(b3)};
        ASSERT_GT(v, 0xFFFFU);
        ExpectDecodes(bytes, Units({((v - 0x10000) >> 10) | 0xD800, (v & 0x3FF) | 0xDC00}), false);
        if (HasFailure()) {
          return;
        }
      }
    }
  }
}

TEST(DecodeRules, FullDestinationReportsTheLastByteOfTheStep) {
  const struct {
    std::string_view bytes;
    size_t cap;
    size_t consumed;
  } kCases[] = {
      {"a", 0, 0},
      {"abc", 2, 2},
      {"abc", 0, 0},
      {"\xC3\xA9", 0, 1},
      {"a\xC3\xA9z", 1, 2},
      {"\xE2\x82\xAC", 0, 2},
      {"ab\xE2\x82\xACz", 2, 4},
      {"\xF0\x9F\x98\x80", 0, 3},
      {"\xF0\x9F\x98\x80", 1, 3},
      {"a\xF0\x9F\x98\x80z", 2, 4},
      {"a\xF0\x9F\x98\x80z", 3, 5},
      {"a\xE9", 1, 1},
      {"abcdefghijklmnopqrstuvwxyz", 25, 25},
      {"abcdefghijklmnopqrstuvwxyz", 17, 17},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.bytes)));
    const Decoded d = Decode(c.bytes, c.cap);
    EXPECT_EQ(-1, d.result);
    EXPECT_EQ(c.consumed, d.consumed);
  }
}

TEST(DecodeRules, CodePagesOneAndZero) {
  EXPECT_EQ(Units({0xE9}), DecodeText(1, "\xC3\xA9"));
  EXPECT_EQ(Units({0xE9}), DecodeText(0, "\xC3\xA9"));
  EXPECT_EQ(Units({0xFFFFFFE9}), DecodeText(1, "\xE9"));
  EXPECT_EQ(Units({0}), DecodeText(1, "\xC0\x80"));
  EXPECT_EQ(Units({'a', 0, 'b'}), DecodeText(0, "a\0b"sv));
  EXPECT_EQ(Units({0xFBCE, 0xDD00}), DecodeText(0, "\xF0\x9F\x98\x80"));
  for (int code_page : {-1, 0, 1, 2, 1252}) {
    EXPECT_EQ(L"", DecodeText(code_page, ""));
  }
}

TEST(DecodeRules, OtherCodePagesAreTheLocales) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale";
  }
  for (int code_page : {2, 1252, 65001, -1, INT_MIN, INT_MAX}) {
    SCOPED_TRACE(code_page);
    EXPECT_EQ(Units({0xC3, 0xA9}), DecodeText(code_page, "\xC3\xA9"));
    EXPECT_EQ(L"a", DecodeText(code_page, "a\0b"sv));
  }
  EXPECT_EQ(Units({0xE9}), DecodeText(0, "\xE9"));
  EXPECT_EQ(Units({0xC0, 0x80}), DecodeText(0, "\xC0\x80"));
  EXPECT_EQ(Units({0xC3, 0xA9, 0xE9}), DecodeText(0, "\xC3\xA9\xE9"));
}

TEST(DecodeRules, UnconvertibleTextIsEmpty) {
  const ScopedLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.ok());
  EXPECT_EQ(L"", DecodeText(0, "abc\xE9zz"));
  EXPECT_EQ(L"", DecodeText(2, "abc\xE9zz"));
  EXPECT_EQ(Units({'a', 0x1F600}), DecodeText(2, "a\xF0\x9F\x98\x80"));
}

TEST(DecodeRules, AllOnesLengthIsMeasured) {
  size_t n = kUntouched;
  const Owned<wchar_t> text(core::DecodeEncodedString(1, "ab\xC3\xA9", SIZE_MAX, &n));
  EXPECT_EQ(3U, n);
  EXPECT_EQ(L"ab\xE9"s, text.get());
  EXPECT_EQ(L"ab", Take(core::DecodeEncodedString(0, "ab", SIZE_MAX, nullptr)));
  EXPECT_EQ(L"", Take(core::DecodeEncodedString(0, "", SIZE_MAX)));
}

TEST(DecodeRules, BufferShrinksFromFourUnusedUnits) {
  const test_host::Scope host;
  const struct {
    std::string_view bytes;
    long attempts;
  } kCases[] = {
      {"\xC3\xA9\xC3\xA9\xC3\xA9", 1},          // 6 bytes, 3 units
      {"\xC3\xA9\xC3\xA9\xC3\xA9z", 1},         // 7 bytes, 4 units
      {"\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 2},  // 8 bytes, 4 units
      {"\xE2\x82\xAC\xE2\x82\xAC", 2},          // 6 bytes, 2 units
      {"abcdefgh", 1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.bytes)));
    const ExactBytes in(c.bytes);
    test_host::ResetPlatformMemory();
    const Owned<wchar_t> text(core::DecodeEncodedString(1, in.chars(), in.size()));
    EXPECT_EQ(c.attempts, test_host::AllocationAttempts());
  }
}

TEST(Utf8Rules, UnitsAreEncodedOneByOne) {
  EXPECT_EQ("", Utf8(L""));
  EXPECT_EQ("\x7F", Utf8(Units({0x7F})));
  EXPECT_EQ("\xC2\x80", Utf8(Units({0x80})));
  EXPECT_EQ("\xDF\xBF", Utf8(Units({0x7FF})));
  EXPECT_EQ("\xE0\xA0\x80", Utf8(Units({0x800})));
  EXPECT_EQ("\xE2\x82\xAC", Utf8(Units({0x20AC})));
  EXPECT_EQ("\xED\xA0\xBD\xED\xB8\x80", Utf8(Units({0xD83D, 0xDE00})));
  EXPECT_EQ("\xEF\xBF\xBF", Utf8(Units({0xFFFF})));
  EXPECT_EQ("\xF0\x80\x80", Utf8(Units({0x10000})));
  EXPECT_EQ("\xFF\x98\x80", Utf8(Units({0x1F600})));
  EXPECT_EQ("\xFF\xBF\xA9", Utf8(Units({0xFFFFFFE9})));
  EXPECT_EQ("\xE0\x80\x80", Utf8(Units({0x80000000})));
}

TEST(Utf8Rules, EveryLengthAroundTheGrowthStepsIsWhole) {
  for (size_t n : {125U, 126U, 127U, 128U, 129U, 253U, 254U, 255U, 256U, 507U, 508U, 509U, 1100U}) {
    for (unsigned unit : {0x41U, 0xE9U, 0x20ACU}) {
      SCOPED_TRACE(n);
      const std::string one = Utf8(Units({unit}));
      std::string expected;
      for (size_t i = 0; i < n; ++i) {
        expected += one;
      }
      EXPECT_EQ(expected, Utf8(std::wstring(n, static_cast<wchar_t>(unit))));
    }
  }
  EXPECT_EQ("\xE2\x82\xAC", Take(core::EncodeUtf8(L"\x20AC")));
  size_t n = 0;
  EXPECT_EQ("a\xE9", Take(core::str_to_utf8("a\xE9", &n)));
  EXPECT_EQ(2U, n);
}

TEST(LocaleTextRules, OneNarrowCharacter) {
  EXPECT_EQ('~', core::to_ansi_char(126));
  EXPECT_EQ('?', core::to_ansi_char(127));
  EXPECT_EQ('?', core::to_ansi_char(128));
  EXPECT_EQ('?', core::to_ansi_char(180));
  EXPECT_EQ('u', core::to_ansi_char(181));
  EXPECT_EQ('?', core::to_ansi_char(182));
  EXPECT_EQ('?', core::to_ansi_char(0x141));
  EXPECT_EQ('?', core::to_ansi_char(WCHAR_MAX));
  EXPECT_EQ('\0', core::to_ansi_char(0));
  EXPECT_EQ('\xFF', core::to_ansi_char(-1));
  EXPECT_EQ('\xE9', core::to_ansi_char(static_cast<wchar_t>(0xFFFFFFE9)));
  EXPECT_EQ('a', core::to_ansi_char(static_cast<wchar_t>(0x80000061)));
}

TEST(LocaleTextRules, TextTheLocaleLacksIsReplaced) {
  const ScopedLocale locale("C");
  ASSERT_TRUE(locale.ok());
  EXPECT_EQ("ab\x7F", Take(core::to_ansi_alloc(L"ab\x7F")));
  EXPECT_EQ("", Take(core::to_ansi_alloc(L"")));
  EXPECT_EQ("a?b", Take(core::to_ansi_alloc(L"a\x20AC"
                                            L"b")));
  EXPECT_EQ("u?\x7E?", Take(core::to_ansi_alloc(L"\xB5\x7F\x7E\x20AC")));
  EXPECT_EQ("A?", Take(core::to_ansi_alloc(Units({0xFFFFFF41, 0x20AC}).c_str())));
  EXPECT_EQ("??", Take(core::to_ansi_alloc(Units({0xD83D, 0xDE00}).c_str())));
}

TEST(LocaleTextRules, TextThatNoReplacementHelpsIsNull) {
  const ScopedLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.ok());
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  EXPECT_EQ(nullptr, core::to_ansi_alloc(Units({0xFFFFFFE9}).c_str()));
  EXPECT_EQ(live, test_host::LiveBlocks());
  EXPECT_EQ("a\xC3\xA9", Take(core::to_ansi_alloc(L"a\xE9")));
  EXPECT_EQ(L"a\xE9", Take(core::to_unicode_alloc("a\xC3\xA9")));
  EXPECT_EQ(L"", Take(core::to_unicode_alloc("a\xE9")));
  EXPECT_EQ(L"", Take(core::to_unicode_alloc("")));
  EXPECT_EQ(nullptr, core::to_unicode_alloc(static_cast<const char*>(nullptr)));
  EXPECT_EQ(nullptr, core::to_unicode_alloc(static_cast<const wchar_t*>(nullptr)));
  EXPECT_EQ(nullptr, core::to_ansi_alloc(static_cast<const char*>(nullptr)));
  const char* same = "x";
  EXPECT_EQ(same, core::to_ansi(same));
}

TEST(TemporaryRules, EachSlotFreesOnlyItsOwn) {
  core::FreeTLS(core::GetTLS());
  const core::ThreadBlock* block = core::GetTLS();
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  wchar_t* wide = core::wstrdup(L"w");
  char* narrow = core::nustrdup("n");
  EXPECT_EQ(wide, core::str_temp(wide));
  EXPECT_EQ(narrow, core::str_temp_ansi(narrow));
  const wchar_t* unicode = core::to_unicode("u");
  const char* ansi = core::to_ansi(L"a");
  EXPECT_EQ(live + 4, test_host::LiveBlocks());
  EXPECT_EQ(wide, block->temp_wide);
  EXPECT_EQ(narrow, block->temp_narrow);
  EXPECT_EQ(unicode, block->last_unicode);
  EXPECT_EQ(ansi, block->last_ansi);
  EXPECT_EQ(L"w"s, wide);
  EXPECT_EQ("n"s, narrow);
  EXPECT_EQ(L"u"s, unicode);
  EXPECT_EQ("a"s, ansi);
  EXPECT_EQ(L"again"s, core::to_unicode(L"again"));
  EXPECT_EQ("again"s, core::to_ansi(L"again"));
  EXPECT_EQ(L"again"s, core::to_unicode(core::to_unicode(L"again")));
  core::str_temp(core::wstrdup(L"next"));
  EXPECT_EQ(live + 4, test_host::LiveBlocks());
  EXPECT_EQ(nullptr, core::str_temp(nullptr));
  EXPECT_EQ(nullptr, core::str_temp_ansi(nullptr));
  EXPECT_EQ(nullptr, core::to_unicode(static_cast<const char*>(nullptr)));
  EXPECT_EQ(live + 1, test_host::LiveBlocks());
  core::FreeTLS(core::GetTLS());
}

TEST(StringRules, LengthsAndCopies) {
  ExactBytes unterminated("abc");
  EXPECT_EQ(3, core::nustrnlen(unterminated.chars(), 3));
  EXPECT_EQ(2, core::nustrnlen(unterminated.chars(), 2));
  EXPECT_EQ(0, core::nustrnlen("abc", 0));
  EXPECT_EQ(3, core::nustrnlen("abc", SIZE_MAX));
  EXPECT_EQ(3, core::nuwstrnlen(L"abc", SIZE_MAX));
  EXPECT_EQ(2, core::nuwstrnlen(L"abc", 2));
  EXPECT_EQ(0, core::nuwstrnlen(L"abc", 0));
  EXPECT_EQ(nullptr, core::nustrdup(nullptr));
  EXPECT_EQ(nullptr, core::wstrdup(nullptr));
  EXPECT_EQ("", Take(core::nustrdup("")));
  EXPECT_EQ("", Take(core::strduplen("abc", 0)));
  EXPECT_EQ("abc", Take(core::strduplen(unterminated.chars(), 3)));
  EXPECT_EQ(L"ab", Take(core::wstrduplen(L"abc", 2)));
  const Owned<char> zero(core::strduplen("a\0bc", 3));
  EXPECT_EQ("a\0b\0"sv, std::string_view(zero.get(), 4));
  EXPECT_FATAL(core::strduplen(nullptr, 0), kNustr, 46);
  EXPECT_FATAL(core::wstrduplen(nullptr, 0), kNustr, 65);
}

TEST(StringRules, PrefixesAndSuffixes) {
  EXPECT_TRUE(core::strbegins("abc", ""));
  EXPECT_TRUE(core::strbegins("", ""));
  EXPECT_TRUE(core::strbegins("abc", "abc"));
  EXPECT_FALSE(core::strbegins("ab", "abc"));
  EXPECT_FALSE(core::strbegins("Abc", "abc"));
  EXPECT_TRUE(core::stribegins("", ""));
  EXPECT_TRUE(core::stribegins("ABCd", "abC"));
  EXPECT_FALSE(core::stribegins("ab", "abc"));
  EXPECT_FALSE(core::stribegins("[", "{"));
  EXPECT_FATAL(core::stribegins(nullptr, ""), kString, 40);
  EXPECT_FATAL(core::stribegins("", nullptr), kString, 40);
  EXPECT_TRUE(core::strends("abc", ""));
  EXPECT_TRUE(core::strends("", ""));
  EXPECT_TRUE(core::strends("abc", "bc"));
  EXPECT_FALSE(core::strends("bc", "abc"));
  EXPECT_FALSE(core::strends("abc", "BC"));
  EXPECT_TRUE(core::striends("a.TXT", ".txt"));
  EXPECT_TRUE(core::striends("", ""));
  EXPECT_FALSE(core::striends("txt", ".txt"));
  EXPECT_FALSE(core::striends("a@", "`"));
  EXPECT_FALSE(core::striends("a[", "{"));
  EXPECT_TRUE(core::tstrbegins(L"abc", L""));
  EXPECT_FALSE(core::tstrbegins(L"ab", L"abc"));
  EXPECT_FALSE(core::tstrbegins(L"Abc", L"a"));
  EXPECT_TRUE(core::tstribegins(L"Abc", L"aB"));
  EXPECT_FALSE(core::tstribegins(L"\xC9", L"\xE9"));
  EXPECT_FALSE(core::tstribegins(L"", L"a"));
  EXPECT_TRUE(core::tstriends(L"a.TXT", L".txt"));
  EXPECT_FALSE(core::tstriends(L"a\xC9", L"\xE9"));
  EXPECT_FALSE(core::tstriends(L"t", L"xt"));
}

TEST(StringRules, Comparisons) {
  EXPECT_EQ(1, core::strncmp_exact("abcd", "abc", 3));
  EXPECT_EQ(0, core::strncmp_exact("abc", "abc", 3));
  EXPECT_EQ(0, core::strncmp_exact("abc", "abcd", 3));
  EXPECT_EQ(1, core::strncmp_exact("abcx", "abcd", 3));
  EXPECT_LT(0, core::strncmp_exact("abd", "abc", 3));
  EXPECT_GT(0, core::strncmp_exact("abb", "abc", 3));
  EXPECT_EQ(1, core::strncmp_exact("a", "b", 0));
  EXPECT_EQ(0, core::strncmp_exact("", "b", 0));
  const Narrow short_text("ab");
  EXPECT_EQ(0, core::strncmp_exact(short_text.get(), "ab", 50));

  EXPECT_EQ(0, core::wcscasecmp(L"", L""));
  EXPECT_EQ(0, core::wcscasecmp(L"aBc", L"AbC"));
  EXPECT_EQ(1, core::wcscasecmp(L"b", L"A"));
  EXPECT_EQ(25, core::wcscasecmp(L"Z", L"a"));
  EXPECT_EQ(-1, core::wcscasecmp(L"a", L"Z"));
  EXPECT_EQ('c', core::wcscasecmp(L"abC", L"ab"));
  EXPECT_EQ(-1, core::wcscasecmp(L"ab", L"abc"));
  EXPECT_EQ(-1, core::wcscasecmp(L"_", L"A"));
  EXPECT_EQ(0x20, core::wcscasecmp(L"{", L"["));
  EXPECT_EQ(-1, core::wcscasecmp(L"\xC9", L"\xE9"));
  EXPECT_EQ(0, core::wcsncasecmp(L"a", L"b", 0));
  EXPECT_EQ(0, core::wcsncasecmp(L"abX", L"ABy", 2));
  EXPECT_EQ(-1, core::wcsncasecmp(L"abX", L"ABy", 3));
  EXPECT_EQ(0, core::wcsncasecmp(L"ab", L"ab", 9));
  EXPECT_EQ(-1, core::tstrcmplogical(L"file10", L"file9"));
  EXPECT_EQ(8, core::tstrcmplogical(L"file9", L"FILE10"));

  const wchar_t* s = L"ABCd";
  EXPECT_EQ(s + 2, core::striprefix_match(s, L"abx"));
  EXPECT_EQ(s + 4, core::striprefix_match(s, L"abcdefg"));
  EXPECT_EQ(s + 1, core::striprefix_match(s, L"a"));
  EXPECT_EQ(nullptr, core::striprefix_match(s, L"x"));
  EXPECT_EQ(nullptr, core::striprefix_match(s, L""));
  EXPECT_EQ(nullptr, core::striprefix_match(L"", L"a"));
}

TEST(StringRules, Searches) {
  const char* s = "xABcabc";
  EXPECT_EQ(s + 1, core::stristr(s, "abc"));
  EXPECT_EQ(s, core::stristr(s, ""));
  EXPECT_EQ(nullptr, core::stristr("", ""));
  EXPECT_EQ(nullptr, core::stristr("ab", "abc"));
  EXPECT_EQ(s + 6, core::stristr(s, "C") + 3);
  const wchar_t* w = L"xABcabc";
  EXPECT_EQ(w + 1, core::tstristr(w, L"abc"));
  EXPECT_EQ(w, core::tstristr(w, L""));
  EXPECT_EQ(nullptr, core::tstristr(L"", L""));
  EXPECT_EQ(nullptr, core::tstristr(L"ab", L"abc"));
  EXPECT_EQ(w + 1, core::tstritstr(w, L"aBC"));
  EXPECT_EQ(w, core::tstritstr(w, L""));
  EXPECT_EQ(nullptr, core::tstritstr(L"", L""));
  EXPECT_EQ(nullptr, core::tstritstr(L"\xC9", L"\xE9"));

  const ExactBytes unterminated("hello");
  EXPECT_EQ(unterminated.chars() + 3, core::strnstr(unterminated.chars(), "lo", 5));
  EXPECT_EQ(nullptr, core::strnstr(unterminated.chars(), "lo", 4));
  EXPECT_EQ(nullptr, core::strnstr(unterminated.chars(), "lox", 5));
  EXPECT_EQ(unterminated.chars(), core::strnstr(unterminated.chars(), "", 5));
  EXPECT_EQ(nullptr, core::strnstr(unterminated.chars(), "h", 0));
  const Narrow text("aab");
  EXPECT_EQ(text.get() + 1, core::strnstr(text.get(), "ab", SIZE_MAX));
  EXPECT_EQ(nullptr, core::strnstr(text.get(), "b\xFF", 99));

  const char* r = "abcabc";
  EXPECT_EQ(r + 3, core::strrstr(r, "abc"));
  EXPECT_EQ(r, core::strrstr(r, "abca"));
  EXPECT_EQ(r, core::strrstr(r, "abcabc"));
  EXPECT_EQ(r + 6, core::strrstr(r, ""));
  EXPECT_EQ(nullptr, core::strrstr(r, "abcabcx"));
  EXPECT_EQ(nullptr, core::strrstr(r, "ABC"));
  EXPECT_EQ(nullptr, core::strrstr("", "a"));
  const char* none = "";
  EXPECT_EQ(none, core::strrstr(none, ""));
  const char* aaa = "aaa";
  EXPECT_EQ(aaa + 1, core::strrstr(aaa, "aa"));
  const wchar_t* wr = L"abcabc";
  EXPECT_EQ(wr + 3, core::tstrrstr(wr, L"abc"));
  EXPECT_EQ(wr + 6, core::tstrrstr(wr, L""));
  EXPECT_EQ(nullptr, core::tstrrstr(wr, L"abcabcx"));
}

TEST(StringRules, CopiesReturnTheEnd) {
  Narrow dst("######");
  EXPECT_EQ(dst.data() + 3, core::strcpy_e(dst.data(), "abc"));
  EXPECT_EQ("abc\0##"sv, dst.view());
  EXPECT_EQ(dst.data(), core::strcpy_e(dst.data(), ""));
  EXPECT_EQ(dst.data() + 3, core::strncpy_e(dst.data(), "xyz", 4));
  EXPECT_EQ("xyz\0##"sv, dst.view());
  EXPECT_FATAL(core::strncpy_e(dst.data(), "xyz", 3), kString, 145);
  EXPECT_FATAL(core::strncpy_e(dst.data(), "", 0), kString, 145);
  Wide wide(L"######");
  EXPECT_EQ(wide.data() + 2, core::tstrcpy_e(wide.data(), L"ab"));
  EXPECT_EQ(wide.data() + 2, core::tstrncpy_e(wide.data(), L"ab", 3));
  EXPECT_EQ(L"ab\0###"sv, wide.view());
  EXPECT_FATAL(core::tstrncpy_e(wide.data(), L"ab", 2), kString, 161);
  EXPECT_FATAL(core::tstrncpy_e(wide.data(), L"", 0), kString, 161);

  Narrow over("abcdef");
  EXPECT_EQ(over.data(), core::strcpy_m(over.data(), over.data() + 1, 3));
  EXPECT_EQ("bc\0\0ef"sv, over.view());
  EXPECT_EQ(over.data(), core::strcpy_m(over.data(), "xyzw", 2));
  EXPECT_EQ("xy\0\0ef"sv, over.view());
  EXPECT_EQ(over.data(), core::strcpy_m(over.data(), "xyzw", 0));
  EXPECT_EQ('\0', over.data()[0]);
}

TEST(StringRules, Tokens) {
  Narrow text("a,b,,c,");
  char* p = text.data();
  std::vector<std::string> tokens;
  while (char* token = core::strsep(&p, ',')) {
    tokens.push_back(token);
  }
  EXPECT_EQ((std::vector<std::string>{"a", "b", "", "c", ""}), tokens);
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(nullptr, core::strsep(&p, ','));
  Wide wide(L"");
  wchar_t* w = wide.data();
  EXPECT_EQ(wide.data(), core::strsep(&w, L','));
  EXPECT_EQ(nullptr, w);

  Narrow tok("a=b=c");
  EXPECT_EQ(tok.data() + 2, core::my_strtok(tok.data(), '='));
  EXPECT_EQ("a\0b=c"sv, tok.view());
  EXPECT_EQ(nullptr, core::my_strtok(tok.data(), '='));
  EXPECT_EQ(nullptr, core::my_strtok(nullptr, '='));
  EXPECT_EQ(nullptr, core::my_wstrtok(nullptr, L'='));
  Wide wtok(L"=");
  EXPECT_EQ(wtok.data() + 1, core::my_wstrtok(wtok.data(), L'='));
  Wide two(L"ab=c");
  EXPECT_EQ(two.data() + 2, core::my_strtok2(two.data(), L'='));
  EXPECT_EQ(two.data() + 4, core::my_strtok2(two.data(), L'#'));
  EXPECT_EQ(L"ab=c"sv, two.view());
  Narrow rep("aXbX");
  core::str_replace(rep.data(), 'X', 'Y');
  EXPECT_EQ("aYbY"sv, rep.view());
  Wide wrep(L"XX");
  core::wstr_replace(wrep.data(), L'X', L'\x4E2D');
  EXPECT_EQ(L"\x4E2D\x4E2D"sv, wrep.view());
}

TEST(StringRules, Lines) {
  Narrow crlf("ab\r\ncd\n\r\n\r");
  char* second = core::iter_lines(crlf.data());
  ASSERT_EQ(crlf.data() + 4, second);
  char* third = core::iter_lines(second);
  ASSERT_EQ(crlf.data() + 7, third);
  char* fourth = core::iter_lines(third);
  ASSERT_EQ(crlf.data() + 9, fourth);
  EXPECT_EQ(nullptr, core::iter_lines(fourth));
  EXPECT_EQ("ab\0\0cd\0\0\0\r"sv, crlf.view());

  Narrow before("\r\nx");  // the carriage return stands before the start of the line
  EXPECT_EQ(before.data() + 2, core::iter_lines(before.data() + 1));
  EXPECT_EQ("\r\0x"sv, before.view());
  Narrow two("a\r\r\n");
  EXPECT_EQ(two.data() + 4, core::iter_lines(two.data()));
  EXPECT_EQ("a\r\0\0"sv, two.view());
  Wide wide(L"\r\nx");
  EXPECT_EQ(wide.data() + 2, core::iter_lines(wide.data()));
  EXPECT_EQ(L"\0\0x"sv, wide.view());
  Wide none(L"");
  EXPECT_EQ(nullptr, core::iter_lines(none.data()));

  for (int c = 0; c < 256; ++c) {
    EXPECT_EQ(c == '\t' || c == ' ', core::is_ws(static_cast<char>(c))) << c;
  }
  const char* p = " \t \nx";
  const char* start = p;
  EXPECT_EQ(start + 3, core::skip_ws_left(&p));
  EXPECT_EQ(start + 3, p);
}

TEST(StringRules, ZeroTerminatedLists) {
  const ExactBytes list("a\0B\0cc\0\0"sv);
  const char* z = list.chars();
  EXPECT_EQ(3, core::zstrings_get_count(z));
  EXPECT_EQ(z, core::zstrings_get_str_at(z, 0));
  EXPECT_EQ(z + 2, core::zstrings_get_str_at(z, 1));
  EXPECT_EQ(z + 4, core::zstrings_get_str_at(z, 2));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(z, 3));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(z, 4));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(z, INT_MAX));
  EXPECT_FATAL(core::zstrings_get_str_at(z, -1), kNustr, 241);
  EXPECT_EQ(1, core::zstrings_get_str_pos(z, "b", false));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(z, "b", true));
  EXPECT_EQ(1, core::zstrings_get_str_pos(z, "B", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(z, "c", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(z, "", false));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(z, nullptr, true));
  EXPECT_FATAL(core::zstrings_get_str_pos(nullptr, "a", true), kNustr, 212);
  EXPECT_FATAL(core::zstrings_get_str_pos(nullptr, nullptr, true), kNustr, 212);
  const ExactBytes empty("\0"sv);
  EXPECT_EQ(0, core::zstrings_get_count(empty.chars()));
  EXPECT_EQ(empty.chars(), core::zstrings_get_str_at(empty.chars(), 0));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(empty.chars(), 1));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(empty.chars(), "a", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(empty.chars(), "", true));
}

TEST(StringRules, Numbers) {
  const struct {
    const char* text;
    bool failed;
    int64_t value;
  } kCases[] = {
      {"0", false, 0},
      {"0x10", false, 16},
      {"0X1f", false, 31},
      {"010", false, 8},
      {"08", false, 0},
      {"-0x10", false, -16},
      {" \t-5", false, -5},
      {"+7", false, 7},
      {"12abc", false, 12},
      {"abc", true, 99},
      {"", true, 99},
      {"-", true, 99},
      {"  ", true, 99},
      {"9223372036854775807", false, INT64_MAX},
      {"9223372036854775808", true, 99},
      {"-9223372036854775808", false, INT64_MIN},
      {"-9223372036854775809", true, 99},
      {"0x8000000000000000", true, 99},
      {"99999999999999999999999", true, 99},
  };
  for (const auto& c : kCases) {
    for (int stale : {0, ERANGE, EINVAL}) {
      SCOPED_TRACE(c.text);
      int64_t value = 99;
      errno = stale;
      EXPECT_EQ(c.failed, core::str_to_int64(c.text, &value));
      EXPECT_EQ(c.value, value);
    }
  }
  EXPECT_FATAL(core::str_to_int64("5", nullptr), kNustr, 320);
  EXPECT_TRUE(core::str_to_int64("x", nullptr));
  EXPECT_EQ(12, core::_atoi64(" 12abc"));
  EXPECT_EQ(-7, core::_atoi64("-7"));
  EXPECT_EQ(0, core::_atoi64("abc"));
  EXPECT_EQ(0, core::_atoi64(""));
  EXPECT_EQ(0, core::_atoi64("0x10"));
  EXPECT_EQ(10, core::_atoi64("010"));
  EXPECT_EQ(INT64_MIN, core::_atoi64("-9223372036854775808"));
}

TEST(SlotRules, WhatEachSetterStores) {
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  wchar_t* p = nullptr;
  core::str_set(&p, nullptr);
  EXPECT_EQ(L""s, p);
  core::str_set(&p, L"abc");
  EXPECT_EQ(L"abc"s, p);
  core::str_set(&p, p + 1);
  EXPECT_EQ(L"bc"s, p);
  core::str_set(&p, nullptr);
  EXPECT_EQ(L""s, p);
  wchar_t* given = core::wstrdup(L"x");
  core::str_setx(&p, given);
  EXPECT_EQ(given, p);
  core::str_setx(&p, nullptr);
  EXPECT_EQ(L""s, p);
  core::str_sety(&p, L"y");
  EXPECT_EQ(L"y"s, p);
  core::str_sety(&p, L"");
  EXPECT_EQ(nullptr, p);
  core::str_sety(&p, L"y");
  core::str_sety(&p, nullptr);
  EXPECT_EQ(nullptr, p);
  given = core::wstrdup(L"xy");
  core::str_setxy(&p, given);
  EXPECT_EQ(given, p);
  wchar_t* empty = core::wstrdup(L"");
  core::str_setxy(&p, empty);
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(live + 1, test_host::LiveBlocks());
  EXPECT_EQ(L'\0', *empty);
  core::MyFree(empty);
  core::str_set(&p, L"z");
  core::str_setxy(&p, nullptr);
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(L"d\xE9"s, core::utf8_to_tstr(&p, "d\xC3\xA9"));
  EXPECT_EQ(L"d\xE9"s, p);
  EXPECT_EQ(nullptr, core::utf8_to_tstr(&p, nullptr));
  EXPECT_EQ(nullptr, p);
  core::str_set(&p, L"z");
  core::str_free(&p);
  EXPECT_EQ(nullptr, p);
  core::str_free(&p);

  char* n = nullptr;
  core::str_set_ansi(&n, "");
  EXPECT_EQ(""s, n);
  core::str_set_ansi(&n, "abc");
  EXPECT_EQ("abc"s, n);
  char* mine = core::nustrdup("m");
  core::str_setx_ansi(&n, mine);
  EXPECT_EQ(mine, n);
  core::str_setx_ansi(&n, nullptr);
  EXPECT_EQ(nullptr, n);
  core::str_free_ansi(&n);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(SlotRules, StoringTheOwnStringIsFatal) {
  wchar_t* p = core::wstrdup(L"own");
  EXPECT_FATAL(core::str_set(&p, p), kString, 295);
  EXPECT_FATAL(core::str_setx(&p, p), kString, 352);
  EXPECT_FATAL(core::str_setxy(&p, p), kString, 336);
  EXPECT_FATAL(core::str_sety(&p, p), kString, 344);
  core::str_free(&p);
  char* n = core::nustrdup("own");
  EXPECT_FATAL(core::str_set_ansi(&n, n), kString, 305);
  EXPECT_FATAL(core::str_set_ansi(&n, nullptr), kString, 305);
  EXPECT_FATAL(core::str_setx_ansi(&n, n), kString, 314);
  EXPECT_FATAL(core::utf8_to_tstr(nullptr, n), kString, 323);
  EXPECT_FATAL(core::utf8_to_tstr(nullptr, nullptr), kString, 323);
  core::str_free_ansi(&n);
  wchar_t* empty = core::wstrdup(L"");
  EXPECT_FATAL(core::str_setxy(&empty, empty), kString, 336);
  EXPECT_FATAL(core::str_sety(&empty, empty), kString, 344);
  core::str_free(&empty);
}

TEST(StringBufferRules, TheTerminatorIsNotCounted) {
  core::StringBuffer b;
  EXPECT_EQ(""s, b.AsString());
  EXPECT_EQ(0, b.count);
  b.Add("0123456789abcdef");
  EXPECT_EQ(16U, b.capacity);
  EXPECT_EQ("0123456789abcdef"s, b.AsString());
  EXPECT_EQ(16, b.count);
  EXPECT_EQ(32U, b.capacity);
  b.Add('!');
  b.Add("xyz", 2);
  b.Add("");
  b.Add("a\0b", 3);
  EXPECT_EQ("0123456789abcdef!xya\0b"sv, std::string_view(b.AsString(), b.size()));
  const Owned<char> text(b.StealString());
  EXPECT_EQ("0123456789abcdef!xya\0b\0"sv, std::string_view(text.get(), 23));
  EXPECT_EQ(nullptr, b.data);
  EXPECT_EQ(0U, b.capacity);
  EXPECT_EQ(0, b.count);
  EXPECT_EQ("", Take(b.StealString()));
  b.Add("again");
  EXPECT_EQ("again"s, b.AsString());

  core::StringBufferT w;
  w.Add(L'\x4E2D');
  EXPECT_EQ(L"\x4E2D"s, w.AsString());
  w.Add(L"ab", 1);
  w.Add(L"cd");
  EXPECT_EQ(4, w.count);
  EXPECT_EQ(
      L"\x4E2D"
      L"acd",
      Take(w.StealString()));
  EXPECT_EQ(0, w.count);
  EXPECT_EQ(L"", Take(w.StealString()));
}

TEST(StringBufferRules, FormattedTextIsCutOnlyInNarrow) {
  const std::string narrow(9000, 'n');
  core::StringBuffer b;
  b.Add("<");
  b.AddFmt("%s|", narrow.c_str());
  EXPECT_EQ(8192, b.count);
  b.AddFmt("%d%c%s", 5, 0, "x");
  EXPECT_EQ("<" + narrow.substr(0, 8191) + "5\0x"s, std::string(b.AsString(), b.size()));
  core::StringBuffer fits;
  fits.AddFmt("%s", narrow.c_str() + (9000 - 8191));
  EXPECT_EQ(8191, fits.count);

  const std::wstring wide(9000, L'w');
  core::StringBufferT w;
  w.AddFmt(L"%s%c|%S", wide.c_str(), 0, "\xE9");
  EXPECT_EQ(wide + L"\0|"s + static_cast<wchar_t>(0xFFFFFFE9), std::wstring(w.AsString(), w.size()));
}

TEST(TrimRules, OnlyTabsAndSpacesLeaveTheFront) {
  const struct {
    std::string_view text;
    std::string_view trimmed;
  } kCases[] = {
      {"", ""},
      {" ", ""},
      {"\n", ""},
      {" \t\r\n ", ""},
      {"a", "a"},
      {" \ta b\t \r\n", "a b"},
      {"\na", "\na"},
      {"\r\na\n", "\r\na"},
      {" \n a", "\n a"},
      {"\va\v", "\va\v"},
      {"\xA0"
       "a",
       "\xA0"
       "a"},
      {"  a", "a"},
      {"a\r", "a"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(std::string(c.text)));
    Narrow text(c.text);
    EXPECT_EQ(text.data(), core::trim(text.data()));
    EXPECT_EQ(c.trimmed, text.get());
    Wide wide(std::wstring(c.text.begin(), c.text.end()));
    EXPECT_EQ(wide.data(), core::trim(wide.data()));
    EXPECT_EQ(std::wstring(c.trimmed.begin(), c.trimmed.end()), wide.get());
  }
  EXPECT_EQ(nullptr, core::trim(static_cast<char*>(nullptr)));
  EXPECT_EQ(nullptr, core::trim(static_cast<wchar_t*>(nullptr)));
}

TEST(AcceleratorRules, EveryAmpersandIsDoubled) {
  EXPECT_EQ(nullptr, core::stripaccelerators(nullptr));
  EXPECT_EQ(L"", Take(core::stripaccelerators(L"")));
  EXPECT_EQ(L"a&&b", Take(core::stripaccelerators(L"a&b")));
  EXPECT_EQ(L"&&&&", Take(core::stripaccelerators(L"&&")));
  EXPECT_EQ(L"a&&", Take(core::stripaccelerators(L"a&")));
}

TEST(WildcardRules, Alternatives) {
  const struct {
    const wchar_t* pattern;
    const wchar_t* text;
    bool match;
  } kCases[] = {
      {L"*.TXT|*.doc", L"file.txt", true},
      {L"*.TXT|*.doc", L"file.doc", true},
      {L"*.TXT|*.doc", L"file.docx", false},
      {L"?", L"", false},
      {L"?", L"a", true},
      {L"?", L"ab", false},
      {L"", L"", true},
      {L"", L"a", false},
      {L"*", L"", true},
      {L"**", L"", true},
      {L"*|", L"ab", true},
      {L"a|", L"", true},
      {L"|a", L"", true},
      {L"|a", L"a", true},
      {L"a||b", L"b", true},
      {L"a|b", L"c", false},
      {L"a*b*c", L"aXbXbc", true},
      {L"a*b*c", L"aXbXb", false},
      {L"a*c|x", L"abcd", false},
      {L"a*x|abc", L"abc", true},
      {L"*a|b", L"b", true},
      {L"ab|*c", L"abc", true},
      {L"*?", L"", false},
      {L"*?", L"a", true},
      {L"?*?", L"a", false},
      {L"a***", L"a", true},
      {L"a*|zz", L"abc", true},
      {L"*b|c", L"abcb", true},
      {L"*", L"a|b", true},
      {L"a|b", L"a|b", false},
      {L"[", L"{", false},
      {L"@", L"`", false},
      {L"\xC9", L"\xE9", false},
      {L"aB", L"Ab", true},
      {L"*aab", L"aaaab", true},
      {L"a?|ab", L"a", false},
      {L"abc|ab", L"ab", true},
      {L"?", L"*", true},
      {L"x|*", L"", true},
      {L"x*|?", L"y", true},
      {L"*|x", L"", true},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.match, core::IsWildcardMatch(c.pattern, c.text))
        << testing::PrintToString(std::wstring(c.pattern)) << testing::PrintToString(std::wstring(c.text));
  }
}
